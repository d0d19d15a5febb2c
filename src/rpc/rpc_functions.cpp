#include "rpc/rpc_functions.h"

#include <ntdsapi.h>

namespace win::rpc {

rpc_functions_t rpc_functions_t::real() {
    rpc_functions_t functions;
    functions.string_binding_compose = [](RPC_CSTR address, RPC_CSTR endpoint, RPC_CSTR* string_binding) {
        unsigned char protocol[] = "ncacn_ip_tcp";
        return ::RpcStringBindingComposeA(nullptr, protocol, address, endpoint, nullptr, string_binding);
    };
    functions.binding_from_string_binding = ::RpcBindingFromStringBindingA;
    functions.string_free = ::RpcStringFreeA;
    functions.binding_free = ::RpcBindingFree;
    functions.make_spn = [](const wchar_t* service_class, const wchar_t* service_name, DWORD* length, wchar_t* spn) {
        return ::DsMakeSpnW(service_class, service_name, nullptr, 0, nullptr, length, spn);
    };
    functions.binding_set_auth_info = [](RPC_BINDING_HANDLE binding, wchar_t* principal, unsigned long level,
                                         unsigned long service, void* identity, unsigned long authorisation) {
        return ::RpcBindingSetAuthInfoW(binding, reinterpret_cast<RPC_WSTR>(principal), level, service, identity,
                                        authorisation);
    };
    functions.ep_resolve_binding = ::RpcEpResolveBinding;
    functions.mgmt_set_com_timeout = ::RpcMgmtSetComTimeout;
    functions.binding_set_option = ::RpcBindingSetOption;
    return functions;
}

}  // namespace win::rpc
