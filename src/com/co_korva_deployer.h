#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "deploy/deployer.h"

namespace com {

class CCoKorvaDeployer final : public com_object<IKorvaDeployer, impl::CKorvaDeployer> {
public:
    using com_object::com_object;

    STDMETHODIMP SetEndpoint(BSTR host, int port) override;
    STDMETHODIMP SetAccount(BSTR user_name, BSTR password) override;
    STDMETHODIMP InstallService() override;
    STDMETHODIMP Connect() override;
    STDMETHODIMP RemoveService() override;
    STDMETHODIMP get_ServiceVersion(int* value) override;
    STDMETHODIMP get_ServiceDllVersion(BSTR* value) override;
    STDMETHODIMP UpgradeServiceDll(BSTR dll_path) override;
    STDMETHODIMP InstallServiceEx(BSTR service_path) override;
    STDMETHODIMP SetRpcTimeout(int seconds) override;
    STDMETHODIMP PingService() override;
};

}  // namespace com
