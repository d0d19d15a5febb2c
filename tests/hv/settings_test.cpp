// Which endpoint, account and time-out a call goes out with.
#include <gmock/gmock.h>

#include "KorvaProxyClient.h"
#include "com/co_korva_hv_cluster_manager.h"
#include "com/co_korva_hv_integrator.h"
#include "foundation/automation.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/hv/called.h"
#include "tests/rpc/played_platform.h"

namespace hv_tests {
namespace {

using ::testing::Contains;

// A console over a connection that stops when it has its settings: "compose HOST PORT, USER|DOMAIN|PASSWORD, option 12
// MILLISECONDS" (12 is the time-out of calls).
template <class Object>
struct stopped_console_t {
    stopped_console_t() {
        auto functions = platform.table();
        functions.binding_set_option = [this](auto, unsigned long option, ULONG_PTR value) -> RPC_STATUS {
            seen = text::format("%1, %2, option %3 %4", platform.calls.front(), platform.identity_texts, option, value);
            throw exc::runtime_exc_t("enough seen");
        };
        object =
            object_over<Object>(std::make_shared<typename Object::impl_type>(win::rpc::make_integration_client(functions)));
    }
    void set(const wchar_t* host, int port, const wchar_t* user, const wchar_t* password, int timeout) {
        EXPECT_EQ(object->SetEndpoint(win::make_bstr(host).get(), port), S_OK);
        EXPECT_EQ(object->SetAccount(win::make_bstr(user).get(), win::make_bstr(password).get()), S_OK);
        EXPECT_EQ(object->SetRpcTimeout(timeout), S_OK);
    }
    // The settings that the call shows.
    std::string shown(IDispatch* called, const std::string& method, const std::vector<void*>& inputs) {
        platform.calls.clear();
        EXPECT_THAT(call_by_name(called, method, inputs).lines, Contains("enough seen"));
        return std::exchange(seen, {});
    }

    played_platform_t platform;
    std::string seen;
    win::com_ptr<typename Object::interface_type> object;
};

class Settings : public com_test {
protected:
    logging::captured_log_t log_;
};

TEST_F(Settings, OfAnIntegratorHoldForAllThatItHandedOutAndForNoOther) {
    stopped_console_t<com::CCoKorvaHvIntegrator> first, second;
    GUID id{};
    const struct {
        const char *getter, *method;
        std::vector<void*> inputs;
    } rows[] = {{"OnhostVss", "CloseSnapshot", {&id}},
                {"OffhostVss", "CloseSnapshot", {&id}},
                {"VssInfoCollector", "CollectHvWriterDoc", {}},
                {"CtpMngr", "Init", {}},
                {"RestoreMngr", "PostRestore", {&id}}};
    for (const auto& [getter, method, inputs] : rows) {
        SCOPED_TRACE(getter);
        const auto of_first = call_by_name(first.object.get(), getter, {}).object;
        const auto of_second = call_by_name(second.object.get(), getter, {}).object;
        first.set(L"alpha", 7001, LR"(CORP\back\up)", L"пароль", 30);
        second.set(L"beta", 7002, L"backup", L"", 3600);
        EXPECT_EQ(first.shown(of_first.get(), method, inputs), R"(compose alpha 7001, back\up|CORP|пароль, option 12 30000)");
        EXPECT_EQ(second.seen, "");
        EXPECT_EQ(second.shown(of_second.get(), method, inputs), "compose beta 7002, backup|.|, option 12 3600000");
    }
    EXPECT_EQ(first.shown(first.object.get(), "TestConnection", {}),
              R"(compose alpha 7001, back\up|CORP|пароль, option 12 30000)");
    EXPECT_FALSE(log_.holds("пароль"));
}

TEST_F(Settings, OfAClusterManagerAreItsOwn) {
    stopped_console_t<com::CCoKorvaHvClusterManager> cluster;
    cluster.set(L"node-1", 7004, LR"(CLUSTER\admin)", L"секрет", 20);
    EXPECT_EQ(cluster.shown(cluster.object.get(), "RefreshVMConfig", {nullptr}),
              "compose node-1 7004, admin|CLUSTER|секрет, option 12 20000");
    EXPECT_TRUE(log_.holds("Connecting to RPC port '7004', host 'node-1'"));
    EXPECT_FALSE(log_.holds("секрет"));
}

}  // namespace
}  // namespace hv_tests
