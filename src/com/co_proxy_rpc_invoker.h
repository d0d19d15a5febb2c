#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "com/proxy_rpc_invoker.h"

namespace com {

class CCoProxyRpcInvoker final : public com_object<IProxyRpcInvoker, impl::CProxyRpcInvoker> {
public:
    using com_object::com_object;

    STDMETHODIMP Connect(BSTR backupConsoleVersion) override;
    STDMETHODIMP SetEndpoint(BSTR host, int Port) override;
    STDMETHODIMP SetAccount(BSTR Username, BSTR Password) override;
    STDMETHODIMP DoRpc(BSTR cmdName, BSTR inXml, BSTR* outXml) override;
    STDMETHODIMP DoRpcWithBinary(BSTR cmdName, BSTR inXml, SAFEARRAY* inData, BSTR* outXml, SAFEARRAY** outData) override;
    STDMETHODIMP TestConnection(BSTR backupConsoleVersion) override;
    STDMETHODIMP SetRpcTimeout(int requestTimeoutSec) override;
    STDMETHODIMP GetRpcTimeout(int* requestTimeoutSec) override;
    STDMETHODIMP SecureConnect(BSTR backupConsoleVersion) override;
};

}  // namespace com
