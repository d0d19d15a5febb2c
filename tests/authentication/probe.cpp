// Drives the invoker's commands against a service that checks passwords, and prints what came of each step for the check
// beside it: probe PORT DOMAIN USER connect|secure CALLS. The password comes from the environment, as everywhere.
#include <winsock2.h>

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/convert.h"
#include "rpc/client.h"
#include "rpc/commands/invoker.h"

namespace {

using namespace win::rpc;

template <class Step>
void step(const char* name, Step run) {
    try {
        run();
        std::printf("%s: good\n", name);
    } catch (const std::exception& error) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', '|');
        std::printf("%s: %s\n", name, text.c_str());
    }
}

void print_authentication(RPC_BINDING_HANDLE binding) {
    RPC_WSTR principal = nullptr;
    unsigned long level = 0, service = 0;
    if (::RpcBindingInqAuthInfoW(binding, &principal, &level, &service, nullptr, nullptr) != RPC_S_OK)
        return;
    std::printf("binding: %s level %lu service %lu\n", text::narrow(reinterpret_cast<wchar_t*>(principal)).c_str(), level,
                service);
    ::RpcStringFreeW(&principal);
}

}  // namespace

int main(int, char** arguments) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);  // the check beside it follows
    auto functions = rpc_functions_t::real();
    functions.binding_set_auth_info = [real = functions.binding_set_auth_info](RPC_BINDING_HANDLE binding, auto... rest) {
        const RPC_STATUS status = real(binding, rest...);
        print_authentication(binding);
        return status;
    };
    const auto client = make_invoker_client(std::move(functions));
    client->retry_policy().wait = [](std::uint32_t) {
        std::printf("wait\n");
        ::Sleep(500);  // for a service that comes back
    };
    client->SetEndpoint(L"127.0.0.1", static_cast<std::uint32_t>(std::atoi(arguments[1])));
    client->SetAccount(text::widen(arguments[2]), text::widen(arguments[3]), text::widen(std::getenv("KORVA_PASSWORD")));

    step("Connect", [&] { client->Connect(std::string(arguments[4]) == "secure"); });
    const std::vector<unsigned char> block(1000, 0x5A);
    for (int calls = std::atoi(arguments[5]); calls > 0; --calls) {
        step("TestConnection", [&] {
            CInvokerTestConnectionMethod command(L"marker-version");
            client->Call(command);
        });
        step("DoRpc", [&] {
            CDoRpcMethod command(L"marker-command", L"<marker/>");
            client->Call(command);
            if (command.output_xml() != L"<MARKER/>")
                throw std::runtime_error("another answer");
        });
        step("DoRpcWithBinary", [&] {
            CDoRpcWithBinaryMethod command(L"marker-command", L"<marker/>", block);
            client->Call(command);
            const auto data = command.output_data();
            if (!std::ranges::equal(data, std::vector<unsigned char>(2000, 0x5A)))
                throw std::runtime_error("another block");
        });
    }
    return 0;
}
