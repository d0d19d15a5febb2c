#pragma once

#include <rpc.h>
#include <windows.h>

#include <cstdint>
#include <functional>

namespace win::rpc {

// The functions of the platform that a connection is made with. The defaults are the real ones; another table plays failures.
struct rpc_functions_t {
    std::function<RPC_STATUS(RPC_CSTR address, RPC_CSTR endpoint, RPC_CSTR* string_binding)> string_binding_compose;
    std::function<RPC_STATUS(RPC_CSTR string_binding, RPC_BINDING_HANDLE*)> binding_from_string_binding;
    std::function<RPC_STATUS(RPC_CSTR*)> string_free;
    std::function<RPC_STATUS(RPC_BINDING_HANDLE*)> binding_free;
    // DsMakeSpnW without instance name, port and referrer.
    std::function<DWORD(const wchar_t* service_class, const wchar_t* service_name, DWORD* length, wchar_t* spn)> make_spn;
    std::function<RPC_STATUS(RPC_BINDING_HANDLE, wchar_t* principal, unsigned long level, unsigned long service, void* identity,
                             unsigned long authorisation)>
        binding_set_auth_info;
    std::function<RPC_STATUS(RPC_BINDING_HANDLE, RPC_IF_HANDLE)> ep_resolve_binding;
    std::function<RPC_STATUS(RPC_BINDING_HANDLE, unsigned int)> mgmt_set_com_timeout;
    std::function<RPC_STATUS(RPC_BINDING_HANDLE, unsigned long option, ULONG_PTR value)> binding_set_option;

    static rpc_functions_t real();
};

// How often and how fast a failed call is repeated. Tests replace the clock and the wait, never the count.
struct retry_policy_t {
    std::uint32_t limit = 10;
    std::uint32_t interval_ms = 10000;  // from the start of one attempt to the start of the next
    std::function<void(std::uint32_t milliseconds)> wait = [](std::uint32_t milliseconds) { ::Sleep(milliseconds); };
    std::function<std::uint64_t()> tick_count = [] { return static_cast<std::uint64_t>(::GetTickCount64()); };
};

}  // namespace win::rpc
