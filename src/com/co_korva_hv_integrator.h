#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/integrator.h"

namespace com {

class CCoKorvaHvIntegrator final : public com_object<IKorvaHvIntegrator, impl::CKorvaHvIntegrator> {
public:
    CCoKorvaHvIntegrator(IUnknown* outer, std::shared_ptr<impl::CKorvaHvIntegrator> impl) noexcept;

    STDMETHODIMP SetEndpoint(BSTR host, int port) override;
    STDMETHODIMP SetAccount(BSTR user_name, BSTR password) override;
    STDMETHODIMP TestConnection() override;
    STDMETHODIMP get_VssInfoCollector(IKorvaVssInfoCollector** value) override;
    STDMETHODIMP get_OnhostVss(IKorvaHvOnhostVss** value) override;
    STDMETHODIMP get_OffhostVss(IKorvaHvOffhostVss** value) override;
    STDMETHODIMP get_CtpMngr(IKorvaHvCtpMngr** value) override;
    STDMETHODIMP get_RestoreMngr(IKorvaHvRestoreMngr** value) override;
    STDMETHODIMP SetRpcTimeout(int seconds) override;
};

}  // namespace com
