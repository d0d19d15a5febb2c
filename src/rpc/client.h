#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "rpc/method.h"
#include "rpc/rpc_functions.h"

namespace win::rpc {

class identity_t;

// One authenticated connection (ncacn_ip_tcp, NTLM) to one remote service.
//
// Calls from several threads are not serialised, and a reconnect of one replaces the binding for all; a binding lives until
// the last call that uses it has returned. Settings may be changed at any time: endpoint and account take effect at the next
// connect, the time-out at once.
class CRpcClientBase {
public:
    // `service_name` is the service class of the principal name that is authenticated against.
    CRpcClientBase(RPC_IF_HANDLE interface_spec, std::wstring service_name,
                   rpc_functions_t functions = rpc_functions_t::real());
    ~CRpcClientBase();
    CRpcClientBase(const CRpcClientBase&) = delete;
    CRpcClientBase& operator=(const CRpcClientBase&) = delete;

    // Port 0 lets the host's endpoint mapper choose.
    void SetEndpoint(std::wstring_view host, std::uint32_t port);
    // Without an account the caller's own logon is used. A name in one piece is split by win::split_account.
    void SetAccount(std::wstring_view domain, std::wstring_view user, std::wstring_view password);
    void SetAccount(std::wstring_view name, std::wstring_view password);
    void SetRpcTimeout(std::int32_t seconds);
    std::int32_t GetRpcTimeout() const noexcept { return timeout_seconds_; }

    std::wstring host() const;
    std::uint32_t port() const;

    // Builds the binding, with packet privacy where `secure`, else authenticated at connect only. Throws exc::win_sys_exc_t
    // with the RPC status and what failed; there is no binding then, also not an older one.
    void Connect(bool secure);

    // Runs the command, with reconnect and retry; connects first where there is no binding (a failure of that surfaces as
    // Connect throws it). Throws exc::runtime_exc_t: "RPC function call failed. ..." above the RPC status's text, or the
    // service's own text.
    void Call(IRpcMethod& command);

    // Settings of the retries, to be changed before the client is shared.
    retry_policy_t& retry_policy() noexcept { return retry_; }

private:
    struct endpoint_t;
    struct bound_t;

    std::shared_ptr<bound_t> build_binding(bool secure) const;
    void apply_timeout(const bound_t& bound) const;
    std::uint32_t attempt(IRpcMethod& command) const;
    std::uint32_t call_with_retries(IRpcMethod& command);
    bool reconnect() noexcept;

    const RPC_IF_HANDLE interface_;
    const std::wstring service_name_;
    const std::shared_ptr<const rpc_functions_t> functions_;
    retry_policy_t retry_;
    std::atomic<std::int32_t> timeout_seconds_ = 3600;
    // Replaced as wholes, so that a thread that connects never sees half of a change.
    std::atomic<std::shared_ptr<const endpoint_t>> endpoint_;
    std::atomic<std::shared_ptr<const identity_t>> account_;  // null: the caller's own logon
    std::atomic<std::shared_ptr<bound_t>> bound_;
};

std::shared_ptr<CRpcClientBase> make_deployment_client(rpc_functions_t functions = rpc_functions_t::real());
std::shared_ptr<CRpcClientBase> make_integration_client(rpc_functions_t functions = rpc_functions_t::real());
std::shared_ptr<CRpcClientBase> make_invoker_client(rpc_functions_t functions = rpc_functions_t::real());

}  // namespace win::rpc
