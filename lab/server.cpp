#include "lab/server.h"

#include <windows.h>

#include <rpc.h>

#include <algorithm>
#include <set>
#include <string>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/unique_resource.h"
#include "lab/serve.h"
#include "stubs/deployment.h"
#include "stubs/hv_integration.h"
#include "stubs/invoker.h"

namespace lab {
namespace {

wchar_t tcp[] = L"ncacn_ip_tcp";

void check(RPC_STATUS status, const std::string& message) {
    if (status != RPC_S_OK)
        throw exc::win_sys_exc_t(message, static_cast<std::uint32_t>(status));
}

struct rpc_string_traits {
    using handle = RPC_WSTR;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::RpcStringFreeW(&h); }
};
using unique_rpc_string = win::unique_resource<rpc_string_traits>;

struct binding_vector_traits {
    using handle = RPC_BINDING_VECTOR*;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::RpcBindingVectorFree(&h); }
};
using unique_binding_vector = win::unique_resource<binding_vector_traits>;

unsigned port_of(RPC_BINDING_HANDLE binding) {
    unique_rpc_string text, protocol, endpoint;
    check(::RpcBindingToStringBindingW(binding, text.put()), "RpcBindingToStringBinding");
    check(::RpcStringBindingParseW(text.get(), nullptr, protocol.put(), nullptr, endpoint.put(), nullptr),
          "RpcStringBindingParse");
    if (std::wstring_view(reinterpret_cast<const wchar_t*>(protocol.get())) != tcp)
        return 0;
    return static_cast<unsigned>(::_wtoi(reinterpret_cast<const wchar_t*>(endpoint.get())));
}

// The TCP ports that this process's RPC runtime listens on.
std::set<unsigned> bound_ports() {
    unique_binding_vector bindings;
    const RPC_STATUS status = ::RpcServerInqBindings(bindings.put());
    if (status == RPC_S_NO_BINDINGS)
        return {};
    check(status, "RpcServerInqBindings");
    std::set<unsigned> ports;
    for (unsigned long i = 0; i < bindings.get()->Count; ++i)
        ports.insert(port_of(bindings.get()->BindingH[i]));
    ports.erase(0);
    return ports;
}

unsigned listen_on(unsigned port) {
    if (port != 0) {
        std::wstring endpoint = std::to_wstring(port);
        check(::RpcServerUseProtseqEpW(reinterpret_cast<RPC_WSTR>(tcp), RPC_C_PROTSEQ_MAX_REQS_DEFAULT,
                                       reinterpret_cast<RPC_WSTR>(endpoint.data()), nullptr),
              text::format("Cannot listen on port %1.", port));
        return port;
    }
    // Wine's runtime takes no second port of its own choice.
    if (const std::set<unsigned> bound = bound_ports(); !bound.empty())
        return *bound.begin();
    check(::RpcServerUseProtseqW(reinterpret_cast<RPC_WSTR>(tcp), RPC_C_PROTSEQ_MAX_REQS_DEFAULT, nullptr),
          "Cannot listen on a free port.");
    const std::set<unsigned> bound = bound_ports();
    if (bound.empty())
        throw exc::runtime_exc_t("The RPC runtime does not tell the port that it listens on.");
    return *bound.begin();
}

}  // namespace

server::server(const server_options& options) {
    set_reply_pause(options.reply_pause_ms);
    for (const unsigned port : options.ports)
        ports_.push_back(listen_on(port));
    try {
        register_interfaces(options);
        if (const RPC_STATUS status = ::RpcServerListen(1, RPC_C_LISTEN_MAX_CALLS_DEFAULT, TRUE);
            status != RPC_S_ALREADY_LISTENING)
            check(status, "RpcServerListen");
        if (options.mapper)
            start_mapper();
    } catch (...) {
        stop();
        throw;
    }
}

void server::register_interfaces(const server_options& options) {
    const struct {
        bool wanted;
        RPC_IF_HANDLE interface_spec;
    } all[] = {{options.deployment, s_KorvaDeployment_v1_0_s_ifspec},
               {options.integration, s_KorvaHvIntegration_v1_0_s_ifspec},
               {options.invoker, s_KorvaInvoker_v1_0_s_ifspec}};
    for (const auto& [wanted, interface_spec] : all) {
        if (!wanted)
            continue;
        check(::RpcServerRegisterIf(interface_spec, nullptr, nullptr), "RpcServerRegisterIf");
        interfaces_.push_back(interface_spec);
    }
    check(::RpcServerRegisterAuthInfoW(nullptr, RPC_C_AUTHN_WINNT, nullptr, nullptr), "RpcServerRegisterAuthInfo");
}

void server::start_mapper() {
    std::vector<mapped_interface> mapped;
    for (void* const interface_spec : interfaces_) {
        const RPC_SYNTAX_IDENTIFIER& id = static_cast<const RPC_SERVER_INTERFACE*>(interface_spec)->InterfaceId;
        mapped.push_back({id.SyntaxGUID, id.SyntaxVersion.MajorVersion, id.SyntaxVersion.MinorVersion,
                          static_cast<std::uint16_t>(ports_.front())});
    }
    try {
        mapper_ = std::make_unique<endpoint_mapper>(std::move(mapped));
    } catch (const exc::win_sys_exc_t&) {
        // The port belongs to the system's own mapper, or takes privileges: the lab serves without.
    }
}

server::~server() { stop(); }

void server::stop() noexcept {
    mapper_.reset();
    // The runtime goes on listening, with no interface: the end of that would have to be waited for, and Wine's comes when the
    // last client has gone.
    for (void* const interface_spec : interfaces_)
        ::RpcServerUnregisterIf(interface_spec, nullptr, TRUE);
    interfaces_.clear();
}

}  // namespace lab
