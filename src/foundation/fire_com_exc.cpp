#include "foundation/fire_com_exc.h"

#include <oleauto.h>

#include <new>

#include "foundation/com_ptr.h"
#include "foundation/convert.h"
#include "foundation/errors.h"

namespace exc {
namespace {

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

// Where the object cannot be made, the result stands alone.
HRESULT set_error_object(std::string_view description, const IID& iid, HRESULT result) noexcept try {
    std::wstring wide = text::widen(description);
    win::com_ptr<ICreateErrorInfo> created;
    win::com_ptr<IErrorInfo> info;
    if (SUCCEEDED(::CreateErrorInfo(created.put())) && SUCCEEDED(created->SetGUID(iid)) &&
        SUCCEEDED(created->SetDescription(wide.data())))
        created.query(info, IID_IErrorInfo);
    ::SetErrorInfo(0, info.get());
    return result;
} catch (const std::exception&) {
    return out_of_memory();
}

}  // namespace

std::string text_of(const std::exception& error) {
    if (dynamic_cast<const exc_base_t*>(&error) || dynamic_cast<const impl::rt_exception*>(&error))
        return error.what();
    return text::from_code_page(error.what());
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
