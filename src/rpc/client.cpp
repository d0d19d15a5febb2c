#include "rpc/client.h"

#include "foundation/account.h"
#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "foundation/system_text.h"
#include "logging/write.h"
#include "rpc/identity.h"
#include "stubs/deployment.h"
#include "stubs/hv_integration.h"
#include "stubs/invoker.h"

namespace win::rpc {

namespace {

void check(RPC_STATUS status, std::string_view message) {
    if (status != RPC_S_OK)
        throw exc::win_sys_exc_t(message, static_cast<std::uint32_t>(status));
}

RPC_CSTR c_str(std::string& text) noexcept { return reinterpret_cast<RPC_CSTR>(text.data()); }

// Service name, "/", host.
std::wstring principal_name(const rpc_functions_t& functions, const std::wstring& service, const std::wstring& host) {
    const auto check_spn = [&](DWORD status) {
        if (status != ERROR_SUCCESS)
            throw exc::win_sys_exc_t(
                text::format("Failed to construct a service principal name (SPN) that identifies a service "
                             "instance. Computer FQDN: [%1].",
                             host),
                status);
    };
    DWORD length = 0;
    const DWORD asked = functions.make_spn(service.c_str(), host.c_str(), &length, nullptr);
    if (asked != ERROR_BUFFER_OVERFLOW)  // the answer of a call that only asks for the length
        check_spn(asked);
    std::wstring name(length, L'\0');
    check_spn(functions.make_spn(service.c_str(), host.c_str(), &length, name.data()));
    return name;
}

bool is_connection_lost(std::uint32_t status) noexcept {
    return status == ERROR_INVALID_HANDLE || status == RPC_S_SERVER_UNAVAILABLE || status == EPT_S_NOT_REGISTERED;
}

bool is_call_failed(std::uint32_t status) noexcept { return status == RPC_S_CALL_FAILED || status == RPC_S_CALL_FAILED_DNE; }

}  // namespace

struct CRpcClientBase::endpoint_t {
    std::wstring host;
    std::uint32_t port = 0;
};

// A whole binding, with the account that the runtime points into.
struct CRpcClientBase::bound_t {
    bound_t(std::shared_ptr<const rpc_functions_t> table, std::shared_ptr<const identity_t> shown)
        : functions(std::move(table)), account(std::move(shown)) {}
    ~bound_t() {
        if (handle)
            functions->binding_free(&handle);
    }
    bound_t(const bound_t&) = delete;
    bound_t& operator=(const bound_t&) = delete;

    std::shared_ptr<const rpc_functions_t> functions;
    std::shared_ptr<const identity_t> account;
    RPC_BINDING_HANDLE handle = nullptr;
};

CRpcClientBase::CRpcClientBase(RPC_IF_HANDLE interface_spec, std::wstring service_name, rpc_functions_t functions)
    : interface_(interface_spec),
      service_name_(std::move(service_name)),
      functions_(std::make_shared<const rpc_functions_t>(std::move(functions))),
      endpoint_(std::make_shared<const endpoint_t>()) {}

CRpcClientBase::~CRpcClientBase() = default;

void CRpcClientBase::SetEndpoint(std::wstring_view host, std::uint32_t port) {
    endpoint_ = std::make_shared<const endpoint_t>(endpoint_t{std::wstring(host), port});
}

void CRpcClientBase::SetAccount(std::wstring_view domain, std::wstring_view user, std::wstring_view password) {
    account_ = std::make_shared<const identity_t>(domain, user, password);
}

void CRpcClientBase::SetAccount(std::wstring_view name, std::wstring_view password) {
    const account_t account = split_account(name);
    SetAccount(account.domain, account.user, password);
}

void CRpcClientBase::SetRpcTimeout(std::int32_t seconds) {
    timeout_seconds_ = seconds;
    if (const auto bound = bound_.load())
        apply_timeout(*bound);
}

std::wstring CRpcClientBase::host() const { return endpoint_.load()->host; }

std::uint32_t CRpcClientBase::port() const { return endpoint_.load()->port; }

void CRpcClientBase::apply_timeout(const bound_t& bound) const {
    const std::int64_t milliseconds = std::int64_t{timeout_seconds_} * 1000;
    functions_->binding_set_option(bound.handle, RPC_C_OPT_CALL_TIMEOUT, static_cast<ULONG_PTR>(milliseconds));
}

void CRpcClientBase::Connect(bool secure) {
    try {
        bound_ = build_binding(secure);
    } catch (...) {
        // An older binding may lead to another host than the one that was asked for.
        bound_.store(nullptr);
        throw;
    }
}

std::shared_ptr<CRpcClientBase::bound_t> CRpcClientBase::build_binding(bool secure) const {
    const auto endpoint = endpoint_.load();
    const auto& [host, port] = *endpoint;
    logging::info("Connecting to RPC port '%1', host '%2', service '%3', secure channel: '%4' .", port, host, service_name_,
                  secure);

    std::string address = text::to_code_page(host);
    std::string endpoint_text = std::to_string(port);
    RPC_CSTR string_binding = nullptr;
    const auto free_string = [this](RPC_CSTR* text) { functions_->string_free(text); };
    const std::unique_ptr<RPC_CSTR, decltype(free_string)> string_owner(&string_binding, free_string);
    check(functions_->string_binding_compose(c_str(address), port == 0 ? nullptr : c_str(endpoint_text), &string_binding),
          "Connect failed (RpcStringBindingCompose)");

    auto bound = std::make_shared<bound_t>(functions_, account_.load());
    check(functions_->binding_from_string_binding(string_binding, &bound->handle),
          "Connect failed (RpcBindingFromStringBinding)");

    std::wstring principal = principal_name(*functions_, service_name_, host);
    // The text names the extended call although the plain one is made; consoles know it so.
    check(functions_->binding_set_auth_info(
              bound->handle, principal.data(), secure ? RPC_C_AUTHN_LEVEL_PKT_PRIVACY : RPC_C_AUTHN_LEVEL_CONNECT,
              RPC_C_AUTHN_WINNT, bound->account ? bound->account->identity() : nullptr, RPC_C_AUTHZ_NONE),
          "Connect failed (RpcBindingSetAuthInfoExW)");
    check(functions_->ep_resolve_binding(bound->handle, interface_), "Connect failed (RpcEpResolveBinding)");
    functions_->mgmt_set_com_timeout(bound->handle, RPC_C_BINDING_MIN_TIMEOUT);
    apply_timeout(*bound);
    return bound;
}

void CRpcClientBase::Call(IRpcMethod& command) {
    if (const std::uint32_t status = call_with_retries(command))
        throw exc::nested(
            text::format("RPC function call failed. Function name: [%1]. Target machine: [%2].", command.GetName(), host()),
            exc::rpc_exc_t(status));
    command.CheckResult();
}

std::uint32_t CRpcClientBase::call_with_retries(IRpcMethod& command) {
    std::uint32_t repeats = 0;
    bool reconnected = false;
    if (!bound_.load()) {
        Connect(false);
        reconnected = true;
    }
    for (;; ++repeats) {
        const std::uint64_t start = retry_.tick_count();
        const std::uint32_t status = attempt(command);
        if (!is_connection_lost(status) && !is_call_failed(status))
            return status;
        // One reconnect for a call, unless another thread's failed one has taken the binding away since.
        if (is_connection_lost(status) && (!reconnected || !bound_.load()) && command.CanReconnect()) {
            reconnected = reconnect();
            if (reconnected)
                continue;
        }
        logging::info("RPC client failed to call method. Status: [%1]. %2", status, exc::system_error_text(status));
        if (repeats > retry_.limit || !command.CanRetry())
            return status;
        const std::uint64_t taken = retry_.tick_count() - start;
        if (taken < retry_.interval_ms)
            retry_.wait(static_cast<std::uint32_t>(retry_.interval_ms - taken));
    }
}

// Without a binding (a reconnect failed before) the attempt fails as one with a dead binding does, so that the next round
// connects again: retries survive an outage.
std::uint32_t CRpcClientBase::attempt(IRpcMethod& command) const {
    const auto bound = bound_.load();
    if (!bound)
        return ERROR_INVALID_HANDLE;
    try {
        command.Execute(bound->handle);
        return RPC_S_OK;
    } catch (const exc::rpc_exc_t& error) {
        return error.code();
    }
}

// The reconnect drops to connect level on purpose, also where the first connection was made with packet privacy.
bool CRpcClientBase::reconnect() noexcept {
    bound_.store(nullptr);
    try {
        Connect(false);
        return true;
    } catch (const std::exception& error) {
        logging::error_with(error, "RPC client failed to reestablish connection.");
        return false;
    }
}

std::shared_ptr<CRpcClientBase> make_deployment_client(rpc_functions_t functions) {
    return std::make_shared<CRpcClientBase>(KorvaDeployment_v1_0_c_ifspec, L"KorvaDeploymentSvc", std::move(functions));
}

std::shared_ptr<CRpcClientBase> make_integration_client(rpc_functions_t functions) {
    return std::make_shared<CRpcClientBase>(KorvaHvIntegration_v1_0_c_ifspec, L"KorvaHvIntegSvc", std::move(functions));
}

std::shared_ptr<CRpcClientBase> make_invoker_client(rpc_functions_t functions) {
    return std::make_shared<CRpcClientBase>(KorvaInvoker_v1_0_c_ifspec, L"KorvaRpcInvoker", std::move(functions));
}

}  // namespace win::rpc
