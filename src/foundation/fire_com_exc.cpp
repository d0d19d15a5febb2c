#include "foundation/fire_com_exc.h"

#include <oleauto.h>

#include <memory>
#include <new>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/nesting.h"

namespace exc {
namespace {

struct releaser {
    void operator()(IUnknown* object) const { object->Release(); }
};

HRESULT code_of(const std::exception& error) noexcept {
    if (const auto* system = dynamic_cast<const win_sys_exc_t*>(&error)) {
        const auto code = static_cast<HRESULT>(system->code());
        return code <= 0 ? code : static_cast<HRESULT>(0x80070000u | (system->code() & 0xFFFFu));
    }
    // The RPC facility, not HRESULT_FROM_WIN32: consoles tell the two apart.
    if (const auto* rpc = dynamic_cast<const rpc_exc_t*>(&error))
        return static_cast<HRESULT>(0x80010000u | rpc->code());
    return DISP_E_EXCEPTION;
}

// No error object: a description that somebody else left on the thread must not pass for ours.
HRESULT out_of_memory() noexcept {
    ::SetErrorInfo(0, nullptr);
    return E_OUTOFMEMORY;
}

HRESULT set_error_object(std::string_view description, const IID& iid, HRESULT result) noexcept try {
    const std::wstring wide = text::widen(description);
    ICreateErrorInfo* created = nullptr;
    if (FAILED(::CreateErrorInfo(&created)))
        return out_of_memory();
    const std::unique_ptr<ICreateErrorInfo, releaser> creator(created);
    if (FAILED(creator->SetGUID(iid)) || FAILED(creator->SetDescription(const_cast<wchar_t*>(wide.c_str()))))
        return out_of_memory();
    IErrorInfo* info = nullptr;
    if (FAILED(creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info))))
        return out_of_memory();
    const std::unique_ptr<IErrorInfo, releaser> owner(info);
    ::SetErrorInfo(0, info);
    return result;
} catch (const std::exception&) {
    return out_of_memory();
}

}  // namespace

std::string text_of(const std::exception& error) {
    std::string text;
    for (const std::string& line : lines_of(error)) {
        if (!text.empty())
            text += '\n';
        text += line;
    }
    return text;
}

std::string message_of(const std::exception& error) {
    std::string message = text_of(error);
    return message.empty() ? std::string(no_message) : message;
}

HRESULT CFireComExcMixin::fire_com_exc(const std::exception& error, const IID& iid) noexcept try {
    if (dynamic_cast<const std::bad_alloc*>(&error))
        return out_of_memory();
    return set_error_object(text_of(error), iid, code_of(error));
} catch (const std::exception&) {
    return out_of_memory();
}

HRESULT CFireComExcMixin::fire_unknown_exc(const IID& iid) noexcept {
    return set_error_object(no_message, iid, DISP_E_EXCEPTION);
}

}  // namespace exc
