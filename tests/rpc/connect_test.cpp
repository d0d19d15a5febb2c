#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "rpc/commands/hv_tracking.h"
#include "tests/foundation/thrown.h"
#include "tests/rpc/played_platform.h"

namespace {

using ::testing::ElementsAre;

class Connect : public ::testing::Test {
protected:
    void TearDown() override {
        client_.reset();
        EXPECT_EQ(platform_.strings_alive, 0);
        EXPECT_EQ(platform_.bindings_alive, 0);
    }

    played_platform_t platform_;
    std::shared_ptr<win::rpc::CRpcClientBase> client_ = win::rpc::make_integration_client(platform_.table());
};

TEST_F(Connect, TakesItsStepsInOrder) {
    logging::captured_log_t log;
    client_->SetEndpoint(L"host.example", 6190);
    client_->Connect(false);
    EXPECT_THAT(platform_.calls,
                ElementsAre("compose host.example 6190", "bind string binding",
                            "authenticate 1 as KorvaHvIntegSvc/host.example level 2 service 10 authorisation 0", "resolve 1",
                            "com timeout 1 0", "option 1 12 3600000"));
    EXPECT_THAT(log.texts(), ElementsAre("Connecting to RPC port '6190', host 'host.example', service 'KorvaHvIntegSvc', "
                                         "secure channel: 'false' ."));
    EXPECT_FALSE(platform_.has_identity) << "no account: the caller's own logon";
    EXPECT_EQ(client_->host(), L"host.example");
    EXPECT_EQ(client_->port(), 6190u);
}

TEST_F(Connect, SecurelyIsPacketPrivacyAndPort0LeavesTheEndpointToTheMapper) {
    client_->SetEndpoint(L"h", 0);
    client_->SetRpcTimeout(30);
    client_->SetAccount(L"dom", L"us\u00e9r", L"secret \u4e16");
    client_->Connect(true);
    EXPECT_THAT(platform_.calls, ElementsAre("compose h none", "bind string binding",
                                             "authenticate 1 as KorvaHvIntegSvc/h level 6 service 10 authorisation 0",
                                             "resolve 1", "com timeout 1 0", "option 1 12 30000"));
    ASSERT_TRUE(platform_.has_identity);
    EXPECT_EQ(platform_.identity_texts, L"us\u00e9r|dom|secret \u4e16");
    EXPECT_EQ(platform_.identity.Flags, 2u);
}

TEST_F(Connect, ServiceNamesAreTheServices) {
    for (const auto& [client, principal] :
         {std::pair(win::rpc::make_deployment_client(platform_.table()), "KorvaDeploymentSvc/"),
          std::pair(win::rpc::make_invoker_client(platform_.table()), "KorvaRpcInvoker/")}) {
        platform_.calls.clear();
        client->Connect(false);
        EXPECT_THAT(platform_.calls[2], ::testing::HasSubstr(std::string(" as ") + principal + " level"));
    }
}

TEST_F(Connect, AFailureSaysItsStepAndLeavesNoBinding) {
    const std::string no_name =
        "Failed to construct a service principal name (SPN) that identifies a service instance. Computer FQDN: [new].";
    const std::pair<std::string, std::string> rows[] = {
        {"compose", "Connect failed (RpcStringBindingCompose)"},
        {"bind", "Connect failed (RpcBindingFromStringBinding)"},
        {"spn length", no_name},
        {"spn", no_name},
        {"authenticate", "Connect failed (RpcBindingSetAuthInfoExW)"},
        {"resolve", "Connect failed (RpcEpResolveBinding)"},
    };
    for (const auto& [function, message] : rows) {
        client_->SetEndpoint(L"old", 1);
        client_->Connect(false);
        client_->SetEndpoint(L"new", 1);
        platform_.failures = {{function, 1722}};
        EXPECT_THAT(thrown([this] { client_->Connect(true); }), ElementsAre(exc::system_error_text(1722), message));
        platform_.failures.clear();
        EXPECT_EQ(platform_.strings_alive, 0) << function;
        EXPECT_EQ(platform_.bindings_alive, 0) << function << ": also not the older one, which leads to another host";
    }
}

TEST_F(Connect, AnewReplacesTheBindingOnlyWhenTheNewOneIsWhole) {
    client_->Connect(false);
    platform_.calls.clear();
    client_->Connect(false);
    ASSERT_EQ(platform_.calls.size(), 7u);
    EXPECT_EQ(platform_.calls[5], "option 2 12 3600000");
    EXPECT_EQ(platform_.calls[6], "free 1");
}

TEST_F(Connect, TheTimeoutOfABoundClientChangesAtOnce) {
    EXPECT_EQ(client_->GetRpcTimeout(), 3600);
    client_->SetRpcTimeout(60);
    EXPECT_TRUE(platform_.calls.empty());
    client_->Connect(false);
    client_->SetRpcTimeout(30);
    EXPECT_EQ(client_->GetRpcTimeout(), 30);
    EXPECT_EQ(platform_.calls.back(), "option 1 12 30000");
}

TEST_F(Connect, AHostThatTheCodePageCannotHoldFailsClearly) {
    client_->SetEndpoint(L"\u4e16", 1);
    EXPECT_EQ(thrown_code([this] { client_->Connect(false); }), 1113u);
}

// Real bindings to a port where nothing listens: every attempt fails, and every thread replaces the binding of all.
TEST(ClosedPort, ThreadsThatReconnectAtOnceLeaveEveryCallItsBinding) {
    std::atomic<int> bindings_alive = 0, bindings_made = 0, failed = 0;
    {
        auto functions = win::rpc::rpc_functions_t::real();
        functions.binding_from_string_binding = [&](RPC_CSTR text, RPC_BINDING_HANDLE* handle) {
            if (++bindings_made > 1000)
                throw exc::runtime_exc_t("It has no end.");
            ++bindings_alive;
            return ::RpcBindingFromStringBindingA(text, handle);
        };
        functions.binding_free = [&](RPC_BINDING_HANDLE* handle) {
            --bindings_alive;
            return ::RpcBindingFree(handle);
        };
        const auto client = win::rpc::make_integration_client(functions);
        client->SetEndpoint(L"127.0.0.1", 1);
        client->SetAccount(L".", L"tester", L"password");
        client->retry_policy().wait = [](std::uint32_t) {};
        client->retry_policy().limit = 3;
        const auto calls = [&] {
            for (int i = 0; i < 5; ++i) {
                win::rpc::CHvCtpInitMethod command;
                const auto lines = thrown([&] { client->Call(command); });
                // The other text where another thread was about to replace the binding.
                failed += lines.back() == exc::system_error_text(RPC_S_SERVER_UNAVAILABLE) ||
                          lines.back() == exc::system_error_text(ERROR_INVALID_HANDLE);
            }
        };
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back(calls);
    }
    EXPECT_EQ(failed, 40);
    EXPECT_EQ(bindings_alive, 0);
}

}  // namespace
