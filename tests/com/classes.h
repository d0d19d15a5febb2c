#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oaidl.h>

#include <vector>

#include "foundation/com_ptr.h"

// Every class with its interface. The objects have no implementation: nothing may reach it.
struct class_row {
    IID iid;
    IUnknown* (*make)(IUnknown* outer);
};
extern const std::vector<class_row> classes;

// The object's interface as its table of functions.
inline win::com_ptr<ITypeInfo> table_of(IDispatch* object) {
    win::com_ptr<ITypeInfo> dispatch, table;
    HREFTYPE reference = 0;
    EXPECT_EQ(object->GetTypeInfo(0, LOCALE_NEUTRAL, dispatch.put()), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeInfo(reference, table.put()), S_OK);
    return table;
}
