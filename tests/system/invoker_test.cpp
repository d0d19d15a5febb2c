// The whole way of a command: an object that COM creates by its ProgID from the registered DLL, to the lab as a process of its
// own, and back.
#include <winsock2.h>

#include <gmock/gmock.h>

#include <optional>

#include "KorvaProxyClient.h"
#include "tests/com/com_test.h"
#include "tests/system/client.h"
#include "tests/system/lab_process.h"
#include "tests/wire/peer.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using win::make_bstr;

class Invoker : public ::testing::Test {
protected:
    Invoker() {
        CLSID clsid{};
        EXPECT_EQ(::CLSIDFromProgID(L"KorvaProxyClientDll.KorvaProxyInvoker.1", &clsid), S_OK);
        EXPECT_EQ(::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IProxyRpcInvoker),
                                     reinterpret_cast<void**>(invoker.put())),
                  S_OK);
        EXPECT_EQ(invoker->SetAccount(make_bstr(L"LAB\\operator").get(), make_bstr(L"secret").get()), S_OK);
    }

    void set_endpoint(const wchar_t* host, int port) { EXPECT_EQ(invoker->SetEndpoint(make_bstr(host).get(), port), S_OK); }
    HRESULT connect() { return invoker->Connect(make_bstr(L"6.0").get()); }
    HRESULT test_connection() { return invoker->TestConnection(make_bstr(L"6.0").get()); }
    // The reply, or the error object's text.
    std::string do_rpc(std::wstring_view name, std::wstring_view xml) {
        win::unique_bstr reply;
        return FAILED(invoker->DoRpc(make_bstr(name).get(), make_bstr(xml).get(), reply.put()))
                   ? description_of_error()
                   : text::narrow(win::bstr_view(reply.get()));
    }

    const single_threaded_com com;
    const registered_dll dll;
    win::com_ptr<IProxyRpcInvoker> invoker;
};

TEST_F(Invoker, ReachesAnotherProcess) {
    lab_process lab;
    set_endpoint(L"localhost", lab.port());
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(test_connection(), S_OK);
    EXPECT_EQ(do_rpc(L"Get", L"<A/>"), "<LabReply Command=\"Get\"><A/></LabReply>");
    EXPECT_THAT(lab.read_until("DoRpc"), AllOf(HasSubstr("InvokerTestConnection version=\"6.0\""),
                                               HasSubstr("DoRpc command=\"Get\" input_xml=\"<A/>\"")));
}

TEST_F(Invoker, SurvivesTheServicesEnd) {
    std::optional<lab_process> lab(std::in_place);
    const int port = lab->port();
    set_endpoint(L"localhost", port);
    EXPECT_EQ(test_connection(), S_OK);

    lab.reset();
    EXPECT_EQ(test_connection(), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), StartsWith("RPC function call failed. Function name: [InvokerTestConnection]."));

    lab.emplace(L"--port " + std::to_wstring(port));
    EXPECT_EQ(do_rpc(L"Back", L""), "<LabReply Command=\"Back\"></LabReply>");
}

TEST_F(Invoker, StaysUsableWhateverAnswers) {
    lab_process lab;
    wire::behaviour_t behaviour;
    behaviour.on_bind = wire::behaviour_t::bind_t::garbage;
    const wire::peer garbage({behaviour});
    const struct {
        const wchar_t* host;
        int port;
    } endpoints[] = {{L"no-such-host.invalid", 2600}, {L"localhost", 1}, {L"localhost", garbage.port()}};
    for (const auto& [host, port] : endpoints) {
        set_endpoint(host, port);
        EXPECT_EQ(connect(), S_OK) << "a port that is given is not looked up";
        EXPECT_EQ(test_connection(), DISP_E_EXCEPTION) << port;
        EXPECT_THAT(description_of_error(), StartsWith("RPC function call failed. Function name: [InvokerTestConnection]. "
                                                       "Target machine: [" +
                                                       text::narrow(host) + "].\n"));
        set_endpoint(L"localhost", lab.port());
        ASSERT_EQ(connect(), S_OK);
        EXPECT_EQ(do_rpc(L"Next", L""), "<LabReply Command=\"Next\"></LabReply>");
    }
    set_endpoint(L"no-such-host.invalid", 0);
    EXPECT_EQ(connect(), HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
    EXPECT_THAT(description_of_error(), HasSubstr("Connect failed (RpcEpResolveBinding)"));
}

}  // namespace
