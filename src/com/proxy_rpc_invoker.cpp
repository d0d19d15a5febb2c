#include "com/proxy_rpc_invoker.h"

namespace impl {

CProxyRpcInvoker::CProxyRpcInvoker(std::shared_ptr<win::rpc::CRpcClientBase> client, win::account_functions_t accounts)
    : client_(std::move(client)), accounts_(std::move(accounts)) {}

void CProxyRpcInvoker::SetEndpoint(std::wstring_view host, std::uint32_t port) { client_->SetEndpoint(host, port); }

void CProxyRpcInvoker::SetAccount(std::wstring_view user_name, std::wstring_view password) {
    win::logon(user_name, password, accounts_);  // nothing here acts under the token: the logon only proves the account
    client_->SetAccount(user_name, password);
}

void CProxyRpcInvoker::Connect() { client_->Connect(false); }

void CProxyRpcInvoker::SecureConnect() { client_->Connect(true); }

void CProxyRpcInvoker::TestConnection(std::wstring_view version) {
    win::rpc::CInvokerTestConnectionMethod command{std::wstring(version)};
    client_->Call(command);
}

std::wstring CProxyRpcInvoker::DoRpc(std::wstring_view command, std::wstring_view input_xml) {
    win::rpc::CDoRpcMethod method{std::wstring(command), std::wstring(input_xml)};
    client_->Call(method);
    return method.output_xml();
}

std::unique_ptr<win::rpc::CDoRpcWithBinaryMethod> CProxyRpcInvoker::DoRpcWithBinary(std::wstring_view command,
                                                                                    std::wstring_view input_xml,
                                                                                    std::span<const unsigned char> data) {
    auto method = std::make_unique<win::rpc::CDoRpcWithBinaryMethod>(std::wstring(command), std::wstring(input_xml), data);
    client_->Call(*method);
    return method;
}

void CProxyRpcInvoker::SetRpcTimeout(std::int32_t seconds) { client_->SetRpcTimeout(seconds); }

std::int32_t CProxyRpcInvoker::GetRpcTimeout() const { return client_->GetRpcTimeout(); }

}  // namespace impl
