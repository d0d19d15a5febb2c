#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "deploy/deployer_platform.h"
#include "foundation/secret.h"
#include "rpc/client.h"

namespace impl {

// Puts the installer service "KorvaDeploymentService" on a remote host, reports its versions, replaces its DLL and takes it
// away again. Used by one caller at a time. No operation leaves a handle, a share connection or an impersonation behind: one
// that cannot end its impersonation fails, as does the next on that thread.
class CKorvaDeployer {
public:
    explicit CKorvaDeployer(deployer_platform_t platform = default_deployer_platform(),
                            std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_deployment_client());

    void SetEndpoint(std::wstring_view host, std::int32_t port);

    // Gives the account to the connection and to the share, then logs it on. After a failed logon both have the new account and
    // nobody is logged on: removal, and installation where an account was ever logged on, fail until the next SetAccount rather
    // than work as two users.
    void SetAccount(std::wstring_view user_name, std::wstring_view password);

    // The executable is KorvaDeploymentSvc.exe beside KorvaProxyClient.dll, or the given one. A service that is there already
    // is only started. With an account set, host and share are reached under it, else as the caller. What a failed installation
    // has done stays; the next one goes on from there.
    void InstallService();
    void InstallService(const std::wstring& local_path);

    // Needs SetAccount. Nothing happens where the service is not installed.
    void RemoveService();

    void Connect();
    std::int32_t ServiceVersion() { return service_version(true); }
    void PingService() { service_version(false); }
    std::wstring ServiceDllVersion();  // a.b.c.d

    // Uploads the file through the service, which then replaces its DLL by it. Errors are those of the upload and the call.
    void UpgradeServiceDll(const std::wstring& dll_path);

    void SetRpcTimeout(std::int32_t seconds);

private:
    struct remote_session_t;

    template <class Message, class Step>
    void run_on_host(const Message& failure, const Step& step) const;
    std::int32_t service_version(bool may_retry);
    const std::wstring& host() const;
    std::shared_ptr<win::win_scm_t> open_manager() const;
    win::win_svc_t open_service(std::shared_ptr<win::win_scm_t> manager) const;
    win::win_svc_t create_service(std::shared_ptr<win::win_scm_t> manager, const std::wstring& executable) const;
    void start(win::win_svc_t& service) const;
    void install(const std::wstring& local_path) const;
    void remove() const;

    deployer_platform_t platform_;
    bool account_set_ = false;
    std::wstring host_;
    std::wstring user_;  // domain\user
    win::secret_t password_;
    std::shared_ptr<win::rpc::CRpcClientBase> client_;
    std::shared_ptr<const win::CImpersonator> impersonator_ = std::make_shared<win::CImpersonator>();
};

}  // namespace impl
