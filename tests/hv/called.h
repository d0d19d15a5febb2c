#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <vector>

#include "foundation/com_ptr.h"

namespace hv_tests {

// What came of a call.
struct called_t {
    HRESULT result = S_OK;
    std::string outputs;                  // 'text', [lists], numbers and identifiers, by commas
    win::com_ptr<IDispatch> object = {};  // or an object
    std::vector<std::string> lines = {};  // of the description of the error, where there was one
};

// Calls a method of the object's own interface through the table of its functions, as the type library describes it, with the
// inputs as the calling convention passes them: numbers and pointers as they are, a GUID by its address. Of a property, its put
// where there is an input. What a failing method leaves in an output is a failure of the test.
called_t call_by_name(IDispatch* object, const std::string& method, const std::vector<void*>& inputs);

}  // namespace hv_tests
