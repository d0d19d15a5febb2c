#include "tests/rpc/loopback_server.h"

#include <rpc.h>
#include <rpcndr.h>

#include <atomic>
#include <stdexcept>

#include "stubs/deployment.h"
#include "stubs/hv_integration.h"
#include "stubs/invoker.h"
#include "tests/rpc/served.h"

namespace {
std::atomic<long> live = 0;
}

// In the place of the product's allocator (the same heap): counts.
extern "C" void* __RPC_USER MIDL_user_allocate(size_t size) {
    ++live;
    return ::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size);
}
extern "C" void __RPC_USER MIDL_user_free(void* block) {
    if (block)
        --live;
    ::HeapFree(::GetProcessHeap(), 0, block);
}

namespace loopback {

namespace {

RPC_IF_HANDLE const interfaces[] = {s_KorvaDeployment_v1_0_s_ifspec, s_KorvaHvIntegration_v1_0_s_ifspec,
                                    s_KorvaInvoker_v1_0_s_ifspec};

void check(RPC_STATUS status, const char* step) {
    if (status != RPC_S_OK)
        throw std::runtime_error(std::string(step) + ": " + std::to_string(status));
}

}  // namespace

served_t& served() {
    static served_t state;
    return state;
}

wchar_t* rpc_string(const wchar_t* text) {
    const size_t bytes = (wcslen(text) + 1) * sizeof(wchar_t);
    return static_cast<wchar_t*>(memcpy(MIDL_user_allocate(bytes), text, bytes));
}

// Wine's server half loses a send that meets another one on the same connection, and the thread that sent the reply before this
// one may not be back yet: a short wait keeps the two apart. (watchdog_t helps where the wait was too short.)
void note(rpc_call_result_t* result, std::string request) {
    ::Sleep(5);
    const std::lock_guard guard(served().mutex);
    served().request = std::move(request);
    result->ok = served().failing ? 0 : 1;
    result->message = served().failing && served().message ? rpc_string(served().message->c_str()) : nullptr;
}

server_t::server_t() {
    unsigned char protocol[] = "ncacn_ip_tcp";
    RPC_STATUS status = RPC_S_CANT_CREATE_ENDPOINT;
    for (port = 41000; status != RPC_S_OK && port < 41100;) {
        std::string endpoint = std::to_string(++port);
        status = ::RpcServerUseProtseqEpA(protocol, RPC_C_PROTSEQ_MAX_REQS_DEFAULT, reinterpret_cast<RPC_CSTR>(endpoint.data()),
                                          nullptr);
    }
    check(status, "endpoint");
    for (RPC_IF_HANDLE handle : interfaces)
        check(::RpcServerRegisterIf(handle, nullptr, nullptr), "interface");
    check(::RpcServerRegisterAuthInfoA(nullptr, RPC_C_AUTHN_WINNT, nullptr, nullptr), "authentication");
    check(::RpcServerListen(1, RPC_C_LISTEN_MAX_CALLS_DEFAULT, TRUE), "listen");
}

watchdog_t::watchdog_t()
    : caller_(::OpenThread(THREAD_ALL_ACCESS, FALSE, ::GetCurrentThreadId())), thread_([this](std::stop_token stop) {
          for (int ticks = 1; !stop.stop_requested(); ++ticks) {
              ::Sleep(50);
              if (ticks % 80 == 0)
                  ::RpcCancelThreadEx(caller_.get(), 0);
          }
      }) {}

server_t::~server_t() {
    ::RpcMgmtStopServerListening(nullptr);
    for (RPC_IF_HANDLE handle : interfaces)
        ::RpcServerUnregisterIf(handle, nullptr, FALSE);
}

std::string last_request() {
    const std::lock_guard guard(served().mutex);
    return served().request;
}

void fail_with(std::optional<std::wstring> message) {
    const std::lock_guard guard(served().mutex);
    served().failing = true;
    served().message = std::move(message);
}

void succeed() {
    const std::lock_guard guard(served().mutex);
    served().failing = false;
}

void set_records(records_t records) { served().records = records; }

long live_blocks() { return live; }

long open_files() { return served().open_files; }

}  // namespace loopback
