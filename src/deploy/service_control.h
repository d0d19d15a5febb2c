#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/poll_policy.h"

// The service control manager of a local or remote host, and one service of it. Each operation is one platform call; a failed
// one throws exc::win_sys_exc_t with the call's code and changes nothing.
namespace win {

struct service_functions_t {
    std::function<decltype(::OpenSCManagerW)> open_manager = ::OpenSCManagerW;
    std::function<decltype(::CreateServiceW)> create = ::CreateServiceW;
    std::function<decltype(::OpenServiceW)> open = ::OpenServiceW;
    std::function<decltype(::StartServiceA)> start = ::StartServiceA;
    std::function<decltype(::ControlService)> control = ::ControlService;
    std::function<decltype(::QueryServiceStatus)> query_status = ::QueryServiceStatus;
    std::function<decltype(::DeleteService)> remove = ::DeleteService;
    std::function<decltype(::QueryServiceConfigA)> query_configuration = ::QueryServiceConfigA;
    std::function<decltype(::ChangeServiceConfig2W)> change_configuration = ::ChangeServiceConfig2W;
    std::function<decltype(::CloseServiceHandle)> close = ::CloseServiceHandle;

    // How often and how far apart the state is looked at after a start or a stop.
    poll_policy_t polls{30, 1000};
};

// Closes through the table that the handle came from.
using unique_service_handle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, std::function<decltype(::CloseServiceHandle)>>;

class win_scm_t {
public:
    // `host` is null for the local machine, which messages call "localhost".
    win_scm_t(const wchar_t* host, DWORD access, service_functions_t functions = {});

    SC_HANDLE handle() const noexcept { return handle_.get(); }
    const service_functions_t& functions() const noexcept { return functions_; }

private:
    service_functions_t functions_;
    unique_service_handle handle_;
};

// The arguments of CreateServiceW; those that may be null keep the platform's meaning of null.
struct new_service_t {
    const wchar_t* name = nullptr;
    const wchar_t* display_name = nullptr;
    const wchar_t* binary_path = nullptr;
    DWORD start_type = SERVICE_DEMAND_START;
    const wchar_t* load_order_group = nullptr;
    const wchar_t* dependencies = nullptr;  // each ends in a zero, the list in a second one
    DWORD* tag = nullptr;
    DWORD error_control = SERVICE_ERROR_NORMAL;
    const wchar_t* account = nullptr;
    const wchar_t* password = nullptr;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    DWORD access = GENERIC_ALL;
};

struct service_configuration_t {
    DWORD type;
    DWORD start_type;
    DWORD error_control;
    std::wstring binary_path;  // the whole command line
    std::wstring account;
    std::wstring display_name;
};

class win_svc_t {
public:
    explicit win_svc_t(std::shared_ptr<win_scm_t> manager) : manager_(std::move(manager)) {}

    void create(const new_service_t& service);
    void open(const wchar_t* name, DWORD access);
    bool is_open() const noexcept { return handle_ != nullptr; }

    // Starts and waits until the service runs. A service that runs already gives code 1056, without any wait.
    void start();

    // Stops and waits until the service has stopped; one that does not run counts as stopped.
    void stop();

    // The service goes when the last handle to it is closed.
    void remove();

    service_configuration_t query_configuration() const;
    void set_description(const std::wstring& description);

    // Four restarts, each after a minute, counted anew after a second. A host that refuses them still has a working service, so
    // the result is not looked at.
    void set_failure_actions();

private:
    const service_functions_t& functions() const noexcept { return manager_->functions(); }
    void require_handle() const;
    bool wait_for(DWORD state, std::string_view failure) const;

    std::shared_ptr<win_scm_t> manager_;  // outlives its services
    std::wstring name_;
    unique_service_handle handle_;
};

}  // namespace win
