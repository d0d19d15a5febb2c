#pragma once

#include <rpc.h>
#include <windows.h>

#include "foundation/errors.h"
#include "rpc/client.h"
#include "rpc/commands/invoker.h"
#include "rpc/seh_guard.h"
#include "stubs/invoker.h"

// A small command of the invoker service: through the client, and by the bare stub.
namespace bench {

inline const wchar_t* const command_name = L"GetVersion";
inline const wchar_t* const input_xml = L"<Input><Option name=\"details\">true</Option></Input>";

inline std::shared_ptr<win::rpc::CRpcClientBase> make_client(unsigned port) {
    auto client = win::rpc::make_invoker_client();
    client->SetEndpoint(L"127.0.0.1", port);
    client->SetAccount(L"KORVA", L"admin", L"password");
    client->Connect(false);
    return client;
}

inline void call(win::rpc::CRpcClientBase& client) {
    win::rpc::CDoRpcMethod command(command_name, input_xml);
    client.Call(command);
}

// All calls in one command, so that nothing but the stub and its guard runs between two of them.
class bare_calls_t final : public win::rpc::CRpcMethodBase {
public:
    explicit bare_calls_t(unsigned count) : CRpcMethodBase(command_of(win::rpc::service_t::invoker, 0)), count_(count) {}

private:
    static void call_stub(void* binding) {
        wchar_t* output = nullptr;
        ::rpc_call_result_t answer{};
        ::DoRpc(binding, command_name, input_xml, &output, &answer);
        ::MIDL_user_free(output);
    }
    win::rpc::rpc_call_result_t DoCall(win::rpc::binding_t binding) override {
        for (unsigned i = 0; i < count_; ++i) {
            if (const unsigned long status = ::korva_seh_guard(&call_stub, binding))
                throw exc::rpc_exc_t(status);
        }
        win::rpc::rpc_call_result_t result;
        result.ok = 1;
        return result;
    }
    const unsigned count_;
};

inline void call_bare(win::rpc::CRpcClientBase& client, unsigned count) {
    bare_calls_t calls(count);
    client.Call(calls);
}

}  // namespace bench
