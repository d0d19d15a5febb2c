#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "deploy/accounts.h"
#include "rpc/client.h"
#include "rpc/commands/invoker.h"

namespace impl {

// Sends any named command, with XML text and optionally a byte block, to the invoker service of one remote host. A call made
// before a connect connects by itself, without privacy. Errors are those of win::rpc::CRpcClientBase.
class CProxyRpcInvoker {
public:
    explicit CProxyRpcInvoker(std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_invoker_client(),
                              win::account_functions_t accounts = {});

    void SetEndpoint(std::wstring_view host, std::uint32_t port);

    // Logs the account on and gives it to the connection; a failed logon leaves the connection's account as it was.
    void SetAccount(std::wstring_view user_name, std::wstring_view password);

    void Connect();
    void SecureConnect();
    void TestConnection(std::wstring_view version);

    // The service's answer (XML).
    std::wstring DoRpc(std::wstring_view command, std::wstring_view input_xml);

    // The finished command, which owns the service's answer.
    std::unique_ptr<win::rpc::CDoRpcWithBinaryMethod> DoRpcWithBinary(std::wstring_view command, std::wstring_view input_xml,
                                                                      std::span<const unsigned char> data);

    void SetRpcTimeout(std::int32_t seconds);
    std::int32_t GetRpcTimeout() const;

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
    const win::account_functions_t accounts_;
};

}  // namespace impl
