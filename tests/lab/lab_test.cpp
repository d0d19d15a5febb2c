#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "rpc/client.h"
#include "rpc/commands/hv_snapshots.h"
#include "rpc/commands/invoker.h"
#include "tests/foundation/thrown.h"

namespace {

using namespace win::rpc;

class Lab : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server_ = std::make_unique<lab::server>(lab::server_options{.mapper = true}); }
    static void TearDownTestSuite() { server_.reset(); }
    void SetUp() override {
        lab::reset();
        lab::requests().take();
        for (const auto& client : {invoker_, integration_}) {
            client->SetEndpoint(L"127.0.0.1", server_->port());
            client->SetAccount(L".", L"operator", L"secret");  // Wine's NTLM knows no logon of the caller's own
        }
    }

    static std::string failure_of(const std::shared_ptr<CRpcClientBase>& client, IRpcMethod& command) {
        return thrown_text([&] { client->Call(command); });
    }
    std::wstring do_rpc(std::wstring command, std::wstring input) {
        CDoRpcMethod call(std::move(command), std::move(input));
        invoker_->Call(call);
        return call.output_xml();
    }

    inline static std::unique_ptr<lab::server> server_;
    const std::shared_ptr<CRpcClientBase> invoker_ = make_invoker_client(), integration_ = make_integration_client();
};

TEST_F(Lab, FailsOnDemandUntilToldOtherwise) {
    CDoRpcMethod fail(L"Lab.Fail", L"The tape is full.");
    EXPECT_EQ(failure_of(invoker_, fail), "The tape is full.");

    CHvTestConnectionMethod test;
    do_rpc(L"Lab.SetFailure", L"HvTestConnection=Not today = not at all.");
    EXPECT_EQ(failure_of(integration_, test), "Not today = not at all.");
    do_rpc(L"Lab.SetFailure", L"HvTestConnection=");
    EXPECT_EQ(failure_of(integration_, test), "nothing");

    do_rpc(L"Lab.SetFailure", L"HvTestConnection=Again.");
    do_rpc(L"Lab.Reset", L"");
    EXPECT_EQ(failure_of(integration_, test), "nothing");
    CDoRpcMethod malformed(L"Lab.SetFailure", L"HvTestConnection");
    EXPECT_EQ(failure_of(invoker_, malformed), "A failure is written PROCEDURE=TEXT, not 'HvTestConnection'.");
}

TEST_F(Lab, StopsWhileAClientIsConnectedAndServesAgain) {
    EXPECT_EQ(do_rpc(L"A", L""), L"<LabReply Command=\"A\"></LabReply>");
    std::thread stopping([&] { server_.reset(); });
    const DWORD waited = ::WaitForSingleObject(reinterpret_cast<HANDLE>(::pthread_gethandle(stopping.native_handle())), 10'000);
    stopping.detach();
    ASSERT_EQ(waited, WAIT_OBJECT_0);
    CInvokerTestConnectionMethod test(L"6.0");
    EXPECT_NE(failure_of(invoker_, test), "nothing");

    SetUpTestSuite();
    EXPECT_EQ(do_rpc(L"B", L""), L"<LabReply Command=\"B\"></LabReply>");
}

TEST_F(Lab, IsFoundThroughTheEndpointMapper) {
    if (!server_->maps_endpoints())
        GTEST_SKIP() << "TCP port 135 is not to be had on this machine.";
    invoker_->SetEndpoint(L"127.0.0.1", 0);
    EXPECT_EQ(do_rpc(L"A", L""), L"<LabReply Command=\"A\"></LabReply>");
}

}  // namespace
