#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <exception>
#include <string>
#include <vector>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"

// A COM call that failed, with all that its error object says.
class call_failed : public std::exception {
public:
    // Takes the thread's error object, so it is made right behind the call.
    call_failed(const char* call, HRESULT result);

    const char* what() const noexcept override { return call_; }
    HRESULT result() const noexcept { return result_; }
    // The lines of the error object's description: the operation that failed first, its cause beneath. Without an error object
    // the system's text for the result.
    const std::vector<std::string>& lines() const noexcept { return lines_; }
    // The interface that reports the error (its IID where the registry has no name for it), and the error object's source;
    // empty where there is none.
    const std::string& interface_name() const noexcept { return interface_; }
    const std::string& source() const noexcept { return source_; }

private:
    void take_error_object();

    const char* call_;
    HRESULT result_;
    std::vector<std::string> lines_;
    std::string interface_, source_;
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
