#include "com/co_proxy_rpc_invoker.h"

#include "com/conversions.h"

namespace com {

using win::bstr_view;

STDMETHODIMP CCoProxyRpcInvoker::Connect(BSTR) {
    return guarded([&] { impl().Connect(); });
}

STDMETHODIMP CCoProxyRpcInvoker::SetEndpoint(BSTR host, int Port) {
    return guarded([&] { impl().SetEndpoint(bstr_view(host), static_cast<std::uint32_t>(Port)); });
}

STDMETHODIMP CCoProxyRpcInvoker::SetAccount(BSTR Username, BSTR Password) {
    return guarded([&] { impl().SetAccount(bstr_view(Username), bstr_view(Password)); });
}

STDMETHODIMP CCoProxyRpcInvoker::DoRpc(BSTR cmdName, BSTR inXml, BSTR* outXml) {
    return guarded(out(outXml), [&] { *outXml = to_bstr(impl().DoRpc(bstr_view(cmdName), bstr_view(inXml))); });
}

STDMETHODIMP CCoProxyRpcInvoker::DoRpcWithBinary(BSTR cmdName, BSTR inXml, SAFEARRAY* inData, BSTR* outXml,
                                                 SAFEARRAY** outData) {
    return guarded(out(outXml, outData), [&] {
        const safe_array_bytes input(inData);
        const auto answer = impl().DoRpcWithBinary(bstr_view(cmdName), bstr_view(inXml), input.bytes());
        win::unique_safe_array data = to_safe_array(answer->output_data());
        *outXml = to_bstr(answer->output_xml());
        *outData = data.release();
    });
}

STDMETHODIMP CCoProxyRpcInvoker::TestConnection(BSTR backupConsoleVersion) {
    return guarded([&] { impl().TestConnection(bstr_view(backupConsoleVersion)); });
}

STDMETHODIMP CCoProxyRpcInvoker::SetRpcTimeout(int requestTimeoutSec) {
    return guarded([&] { impl().SetRpcTimeout(requestTimeoutSec); });
}

STDMETHODIMP CCoProxyRpcInvoker::GetRpcTimeout(int* requestTimeoutSec) {
    return guarded(out(requestTimeoutSec), [&] { *requestTimeoutSec = impl().GetRpcTimeout(); });
}

STDMETHODIMP CCoProxyRpcInvoker::SecureConnect(BSTR) {
    return guarded([&] { impl().SecureConnect(); });
}

}  // namespace com
