#include "deploy/deployer.h"

#include <optional>

#include "deploy/admin_share.h"
#include "deploy/impersonation_tokens.h"
#include "deploy/service_executable.h"
#include "deploy/unc_path.h"
#include "deploy/uploader.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"
#include "rpc/commands/deployment.h"

namespace impl {
namespace {

constexpr const wchar_t* service_name = L"KorvaDeploymentService";
constexpr const wchar_t* display_name = L"Korva Installer Service";
constexpr const wchar_t* description = L"Enables installing, updating and configuring additional Korva Backup components.";
constexpr const wchar_t* executable_name = L"KorvaDeploymentSvc.exe";
constexpr const wchar_t* library_name = L"KorvaProxyClient.dll";
constexpr wchar_t dependencies[] = L"RPCSS\0WINMGMT\0";

}  // namespace

deployer_platform_t& default_deployer_platform() {
    static deployer_platform_t platform;
    return platform;
}

// The account on the remote host, for the length of one operation: the thread acts as it, the share is connected with it, and
// file operations on the share use it.
struct CKorvaDeployer::remote_session_t {
    explicit remote_session_t(const CKorvaDeployer& deployer)
        : session(*deployer.impersonator_, deployer.platform_.impersonation),
          share(deployer.host(), deployer.user_, deployer.password_, deployer.platform_.network),
          registration(share.remote_name(), deployer.impersonator_) {}

    win::win_impersonation_session_t session;
    win::CAdmPersistentShare share;
    win::registered_share_t registration;
};

CKorvaDeployer::CKorvaDeployer(deployer_platform_t platform, std::shared_ptr<win::rpc::CRpcClientBase> client)
    : platform_(std::move(platform)), client_(std::move(client)) {}

void CKorvaDeployer::SetEndpoint(std::wstring_view host, std::int32_t port) {
    const auto scope = logging::scoped("KD: Set end point. Host: [%1], Port: [%2]", host, port);
    std::wstring copy(host);
    client_->SetEndpoint(host, static_cast<std::uint32_t>(port));
    host_.swap(copy);
}

void CKorvaDeployer::SetAccount(std::wstring_view user_name, std::wstring_view password) {
    const auto scope = logging::scoped("KD: Set account. User name: [%1]", user_name);
    impersonator_ = std::make_shared<win::CImpersonator>();
    user_ = win::split_account(user_name).full_name();
    password_ = win::secret_t(password);
    client_->SetAccount(user_name, password);
    impersonator_ = std::make_shared<win::CImpersonator>(win::logon(user_name, password, platform_.accounts));
    account_set_ = true;
}

// Becomes a part of paths, where a separator would lead to another share, a zero would cut off the rest and two names stand for
// the device namespace; the service control manager of an empty one would be the local machine's.
const std::wstring& CKorvaDeployer::host() const {
    if (host_.empty())
        throw exc::runtime_exc_t("Host is not specified");
    if (host_.find_first_of(std::wstring_view(L"\\/", 3)) != std::wstring::npos || host_ == L"." || host_ == L"?")
        throw exc::runtime_exc_t(text::format("Invalid host name: [%1].", host_));
    return host_;
}

// Neither begins nor ends while the thread acts as a user that an impersonation left behind: the caller would trust a thread
// that is not its own.
template <class Message, class Step>
void CKorvaDeployer::run_on_host(const Message& failure, const Step& step) const {
    exc::wrap_errors(failure, [&] {
        win::settle_impersonation(platform_.impersonation);
        step();
    });
    win::settle_impersonation(platform_.impersonation);
}

void CKorvaDeployer::InstallService() {
    std::wstring path;
    {
        const auto scope = logging::scoped("KD: Get KorvaDeploymentSvc local path");
        const std::wstring library = win::module_path(library_name, platform_.files);
        path = library.substr(0, library.size() - win::file_name_of(library).size()) + executable_name;
        logging::info("Path: [%1]", path);
    }
    InstallService(path);
}

void CKorvaDeployer::InstallService(const std::wstring& local_path) {
    const auto scope = logging::scoped("Making sure that the deployment service in installed on host [%1].", host_);
    run_on_host(
        [&] { return text::format("Failed to install service [%1] was not installed on the host [%2].", service_name, host_); },
        [&] { install(local_path); });
}

void CKorvaDeployer::install(const std::wstring& local_path) const {
    std::optional<remote_session_t> session;
    if (account_set_)
        session.emplace(*this);
    const auto manager = open_manager();
    win::win_svc_t service = open_service(manager);
    if (service.is_open()) {
        logging::info("Deployment service is already installed on the remote host.");
    } else {
        logging::info("Deployment service will be installed on the target host.");
        service = create_service(manager, copy_executable(local_path, host_, platform_));
    }
    start(service);
}

std::shared_ptr<win::win_scm_t> CKorvaDeployer::open_manager() const {
    return std::make_shared<win::win_scm_t>(host().c_str(), SC_MANAGER_ALL_ACCESS, platform_.services);
}

win::win_svc_t CKorvaDeployer::open_service(std::shared_ptr<win::win_scm_t> manager) const {
    const auto scope = logging::scoped("Trying to open service '%1'.", service_name);
    win::win_svc_t service(std::move(manager));
    try {
        service.open(service_name, GENERIC_ALL);
    } catch (const exc::win_sys_exc_t& error) {
        if (error.code() != ERROR_SERVICE_DOES_NOT_EXIST)
            throw exc::win_sys_exc_t("Failed to open deployment service", error.code());
        logging::info("Service is not installed");
    }
    return service;
}

win::win_svc_t CKorvaDeployer::create_service(std::shared_ptr<win::win_scm_t> manager, const std::wstring& executable) const {
    const auto scope = logging::scoped("Creating  service [%1]. Path to executable: [%2]", service_name, executable);
    return exc::wrap_errors("Failed to register deployment service the target host", [&] {
        // Not quoted, even where the path holds blanks: installed hosts have it so, and removal reads it so.
        const std::wstring command_line = executable + L" -port " + std::to_wstring(client_->port());
        win::win_svc_t service(std::move(manager));
        service.create({.name = service_name,
                        .display_name = display_name,
                        .binary_path = command_line.c_str(),
                        .start_type = SERVICE_AUTO_START,
                        .dependencies = dependencies,
                        .error_control = SERVICE_ERROR_NORMAL,
                        .type = SERVICE_WIN32_OWN_PROCESS,
                        .access = GENERIC_ALL});
        service.set_description(description);
        service.set_failure_actions();
        return service;
    });
}

void CKorvaDeployer::start(win::win_svc_t& service) const {
    const auto scope = logging::scoped("Starting deployment service");
    exc::wrap_errors("Failed to start deployment service on the target host", [&] {
        try {
            service.start();
        } catch (const exc::win_sys_exc_t& error) {
            if (error.code() != ERROR_SERVICE_ALREADY_RUNNING)
                throw;
            logging::info("Already started");
        }
    });
}

void CKorvaDeployer::RemoveService() {
    const auto scope = logging::scoped("Removing deployment service from the host [%1].", host_);
    run_on_host([&] { return text::format("Failed to remove deployment service from the host [%1].", host_); },
                [&] { remove(); });
}

void CKorvaDeployer::remove() const {
    const remote_session_t session(*this);
    const std::wstring folder = session.share.remote_name() + L"\\Korva";
    {
        win::win_svc_t service = open_service(open_manager());
        if (!service.is_open()) {
            logging::info("Service not installed");
            return;
        }
        const std::wstring executable = [&] {
            const auto scope = logging::scoped("KD: Get service install path");
            return executable_unc_path(service.query_configuration().binary_path, host_, platform_);
        }();
        {
            const auto scope = logging::scoped("KD: Waiting service for stop");
            exc::wrap_errors("Failed to stop the deployment service on the target host", [&] { service.stop(); });
        }
        {
            const auto scope = logging::scoped("KD: Delete service");
            exc::wrap_errors("Failed to unregister deployment service from the target host", [&] { service.remove(); });
        }
        delete_executable(executable, platform_);
    }
    {
        const auto scope = logging::scoped("KD: Try to deleting remote korva folder [%1]", folder);
        const win::file_operation_t operation(folder, platform_.impersonation);
        win::remove_folder(folder, platform_.files);
    }
    logging::info("Deployment service was successfully deleted.");
}

void CKorvaDeployer::Connect() {
    const auto scope = logging::scoped("KD: Connect to the remote instance of deployment service");
    client_->Connect(false);
}

std::int32_t CKorvaDeployer::service_version(bool may_retry) {
    const auto scope = logging::scoped("KD: Getting version of the deployment service.");
    win::rpc::CGetSvcVersionMethod command(may_retry);
    client_->Call(command);
    logging::info("Service version: [%1]", command.version());
    return command.version();
}

std::wstring CKorvaDeployer::ServiceDllVersion() {
    const auto scope = logging::scoped("KD: Getting version of the deployment service dll.");
    win::rpc::CGetSvcDllVersionMethod command;
    client_->Call(command);
    const win::rpc::dll_version_t version = command.version();
    const std::string text = text::version_text(version.high, version.low);
    logging::info("Service dll version: [%1]", text);
    return text::widen(text);
}

void CKorvaDeployer::UpgradeServiceDll(const std::wstring& dll_path) {
    const auto scope = logging::scoped("KD: Upgrading deployment service dll...");
    win::file_uploader_t uploader(client_);
    const std::wstring destination = win::join_path(uploader.upload_folder(), win::file_name_of(dll_path));
    uploader.upload(dll_path, destination);
    win::rpc::CUpgradeSvcDllMethod command(destination);
    client_->Call(command);
}

void CKorvaDeployer::SetRpcTimeout(std::int32_t seconds) {
    const auto scope = logging::scoped("KD: Set RPC timeout. Request timeout: [%1] sec.", seconds);
    client_->SetRpcTimeout(seconds);
}

}  // namespace impl
