#include "foundation/errors.h"

#include <oleauto.h>
#include <winternl.h>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"
#include "foundation/system_text.h"

namespace exc {
namespace {

// Description of the thread's current error object; fetching it takes it from the thread.
std::string current_error_description() {
    win::com_ptr<IErrorInfo> info;
    win::unique_bstr description;
    if (::GetErrorInfo(0, info.put()) != S_OK || FAILED(info->GetDescription(description.put())))
        return {};
    return text::narrow(win::bstr_view(description.get()));
}

}  // namespace

exc_base_t::exc_base_t(std::string_view message) { add_line(message); }

void exc_base_t::add_line(std::string_view line) {
    assembly_ = text_;
    if (!lines_.empty())
        assembly_ += '\n';
    assembly_ += line;
    lines_.emplace_back(line);
    text_.swap(assembly_);
}

win_sys_exc_t::win_sys_exc_t(std::string_view message, std::uint32_t code) : exc_base_t(system_error_text(code)), code_(code) {
    add_line(message);
}

rpc_exc_t::rpc_exc_t(std::uint32_t status) : exc_base_t(system_error_text(status)), code_(status) {}

com_exc_t::com_exc_t(HRESULT result, std::string_view message)
    : exc_base_t(current_error_description() + " Error code: " + text::hex8(static_cast<std::uint32_t>(result))),
      code_(result) {
    add_line(message);
}

CNtStatusExc::CNtStatusExc(std::uint32_t status, std::string_view message)
    : exc_base_t("NT status code: " + text::hex8(status)), code_(status) {
    add_line(system_error_text(::RtlNtStatusToDosError(static_cast<NTSTATUS>(status))));
    if (!message.empty())
        add_line(message);
}

}  // namespace exc
