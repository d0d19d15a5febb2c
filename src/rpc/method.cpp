#include "rpc/method.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace win::rpc {

void CRpcMethodBase::Execute(binding_t binding) { result_ = DoCall(binding); }

void CRpcMethodBase::CheckResult() {
    if (result_.ok != 0)
        return;
    const std::string message = text::narrow(text_of(result_.message.get()));
    result_.message.reset();
    throw exc::runtime_exc_t(message);
}

void CRpcMethodBase::bad_reply(std::string_view what) const {
    throw exc::runtime_exc_t(text::format("The reply to remote function [%1] is not valid: %2.", GetName(), what));
}

void CRpcMethodBase::check_list(bool has_entries, std::size_t held, std::size_t count) const {
    if (count != 0 && !has_entries)
        bad_reply(text::format("it counts %1 entries but brings no list", count));
    if (held < count)
        bad_reply(text::format("it counts %1 entries but brings %2", count, held));
}

}  // namespace win::rpc
