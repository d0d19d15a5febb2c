#pragma once

#include <windows.h>

#include <objbase.h>

#include <exception>
#include <string>
#include <vector>

#include "foundation/com_ptr.h"

// A COM call that failed, with what the error object says.
class call_failed : public std::exception {
public:
    // Takes the thread's error object, so it is made right behind the call.
    call_failed(const char* call, HRESULT result);

    const char* what() const noexcept override { return call_; }
    HRESULT result() const noexcept { return result_; }
    // The lines of the error object's description: the operation that failed first, its cause beneath. Empty without one.
    const std::vector<std::string>& lines() const noexcept { return lines_; }

private:
    const char* call_;
    HRESULT result_;
    std::vector<std::string> lines_;
};

// Throws call_failed where the call failed.
inline void check(const char* call, HRESULT result) {
    if (FAILED(result))
        throw call_failed(call, result);
}

// The class's object by its ProgID, as any console finds it.
template <class Interface>
win::com_ptr<Interface> create_object(const wchar_t* prog_id) {
    CLSID clsid;
    check("CLSIDFromProgID", ::CLSIDFromProgID(prog_id, &clsid));
    win::com_ptr<Interface> object;
    check("CoCreateInstance", ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                                 reinterpret_cast<void**>(object.put())));
    return object;
}

// One step on the screen: the method and what came of it.
void show(const char* method, const std::string& outcome);
