#include "deploy/service_control.h"

#include <vector>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/system_text.h"

namespace win {
namespace {

void require(const wchar_t* argument, const char* failure) {
    if (!argument)
        throw exc::runtime_exc_t(failure);
}

std::wstring widened(const char* code_page_text) {
    return code_page_text ? text::widen(text::from_code_page(code_page_text)) : std::wstring();
}

// The texts name the service and repeat the system's text of the code.
[[noreturn]] void fail(std::string_view message, std::wstring_view service) {
    const DWORD code = ::GetLastError();
    throw exc::win_sys_exc_t(text::format(message, service, exc::system_error_text(code)), code);
}

}  // namespace

win_scm_t::win_scm_t(const wchar_t* host, DWORD access, service_functions_t functions) : functions_(std::move(functions)) {
    const SC_HANDLE opened = functions_.open_manager(host, SERVICES_ACTIVE_DATABASEW, access);
    if (!opened)
        exc::throw_last_error("Cannot connect to service control manager. Host: '%1'.", host ? host : L"localhost");
    handle_ = unique_service_handle(opened, functions_.close);
}

void win_svc_t::create(const new_service_t& service) {
    require(service.name, "Bad argument: pszServiceName");
    require(service.display_name, "Bad argument: pszDisplayName");
    require(service.binary_path, "Bad argument: pszBinaryPathName");
    std::wstring name = service.name;
    const SC_HANDLE created =
        functions().create(manager_->handle(), service.name, service.display_name, service.access, service.type,
                           service.start_type, service.error_control, service.binary_path, service.load_order_group,
                           service.tag, service.dependencies, service.account, service.password);
    if (!created)
        fail("Failed to create service '%1'. %2.", name);
    handle_ = unique_service_handle(created, functions().close);
    name_ = std::move(name);
}

void win_svc_t::open(const wchar_t* name, DWORD access) {
    require(name, "Bad argument: pszServiceName");
    std::wstring kept_name = name;
    const SC_HANDLE opened = functions().open(manager_->handle(), name, access);
    if (!opened)
        fail("Failed to open service '%1'. %2.", name);
    handle_ = unique_service_handle(opened, functions().close);
    name_ = std::move(kept_name);
}

void win_svc_t::start() {
    if (!is_open())
        throw exc::runtime_exc_t(text::format("Bad state: service '%1'  is not opened or created. %2", name_, ""));
    constexpr std::string_view failure = "Failed to start service '%1'. %2.";
    if (!functions().start(handle_.get(), 0, nullptr))
        fail(failure, name_);
    if (!wait_for(SERVICE_RUNNING, failure))
        throw exc::runtime_exc_t(text::format("Timed out to start service '%1'. %2.", name_, ""));
}

void win_svc_t::stop() {
    require_handle();
    constexpr std::string_view failure = "Failed to stop service '%1'. %2.";
    SERVICE_STATUS status{};
    if (!functions().control(handle_.get(), SERVICE_CONTROL_STOP, &status)) {
        if (::GetLastError() == ERROR_SERVICE_NOT_ACTIVE)
            return;
        fail(failure, name_);
    }
    if (!wait_for(SERVICE_STOPPED, failure))
        throw exc::runtime_exc_t("Failed to stop service");
}

void win_svc_t::remove() {
    require_handle();
    if (!functions().remove(handle_.get()))
        fail("Failed to delete service '%1'. %2.", name_);
}

service_configuration_t win_svc_t::query_configuration() const {
    require_handle();
    std::vector<std::byte> buffer(1024);
    DWORD needed = 0;
    for (;;) {
        auto* const found = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer.data());
        if (functions().query_configuration(handle_.get(), found, static_cast<DWORD>(buffer.size()), &needed))
            return {found->dwServiceType,
                    found->dwStartType,
                    found->dwErrorControl,
                    widened(found->lpBinaryPathName),
                    widened(found->lpServiceStartName),
                    widened(found->lpDisplayName)};
        if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER || needed <= buffer.size())
            fail("Cannot query  configuration of the service '%1'. %2.", name_);
        buffer.resize(needed);
    }
}

void win_svc_t::set_description(const std::wstring& description) {
    require_handle();
    std::wstring text = description;
    SERVICE_DESCRIPTIONW information{text.data()};
    if (!functions().change_configuration(handle_.get(), SERVICE_CONFIG_DESCRIPTION, &information))
        fail("Failed to set description of the service '%1'. %2.", name_);
}

void win_svc_t::set_failure_actions() {
    require_handle();
    SC_ACTION restart{SC_ACTION_RESTART, 60'000};
    SC_ACTION actions[] = {restart, restart, restart, restart};
    SERVICE_FAILURE_ACTIONSW information{1, nullptr, nullptr, 4, actions};
    functions().change_configuration(handle_.get(), SERVICE_CONFIG_FAILURE_ACTIONS, &information);
}

void win_svc_t::require_handle() const {
    if (!is_open())
        throw exc::runtime_exc_t("Bad state: service not opened or created");
}

bool win_svc_t::wait_for(DWORD state, std::string_view failure) const {
    const poll_policy_t& polls = functions().polls;
    for (std::uint32_t poll = 0; poll < polls.attempts; ++poll) {
        SERVICE_STATUS status{};
        if (!functions().query_status(handle_.get(), &status))
            fail(failure, name_);
        if (status.dwCurrentState == state)
            return true;
        polls.wait(polls.interval_ms);
    }
    return false;
}

}  // namespace win
