#pragma once

#include <windows.h>

#include <oleauto.h>

#include <optional>
#include <string>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"

// The error object of the calling thread.
struct error_object_t {
    std::string description;
    GUID source{};
};

// What the last call left on the thread, which is taken from it.
inline std::optional<error_object_t> take_error() {
    win::com_ptr<IErrorInfo> info;
    if (::GetErrorInfo(0, info.put()) != S_OK)
        return std::nullopt;
    error_object_t result;
    win::unique_bstr description;
    info->GetDescription(description.put());
    info->GetGUID(&result.source);
    result.description = text::narrow(win::bstr_view(description.get()));
    return result;
}

inline std::string description_of_error() {
    const auto error = take_error();
    return error ? error->description : "(no error object)";
}

// An error object that somebody else forgot on the thread.
inline void leave_foreign_error(std::wstring description = L"somebody else's") {
    win::com_ptr<ICreateErrorInfo> created;
    win::com_ptr<IErrorInfo> info;
    ::CreateErrorInfo(created.put());
    created->SetDescription(description.data());
    created.query(info, IID_IErrorInfo);
    ::SetErrorInfo(0, info.get());
}
