// The whole way of a command: an object that COM creates by its ProgID from the registered DLL, to the lab as a process of its
// own, and back.
#include <winsock2.h>

#include <gmock/gmock.h>

#include <optional>
#include <thread>

#include "KorvaProxyClient.h"
#include "tests/com/com_test.h"
#include "tests/system/client.h"
#include "tests/system/lab_process.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using win::make_bstr;

// Answers every connection with what is no remote-procedure call.
class garbage_service {
public:
    garbage_service() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        int size = sizeof address;
        EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(listener_, 5), 0);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ::ntohs(address.sin_port);
        thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }
    ~garbage_service() {
        thread_.request_stop();
        thread_.join();
        ::closesocket(listener_);
    }
    int port() const { return port_; }

private:
    void run(const std::stop_token& stop) const {
        while (!stop.stop_requested()) {
            fd_set readable;
            FD_ZERO(&readable);
            FD_SET(listener_, &readable);
            timeval wait = {0, 50000};
            if (::select(0, &readable, nullptr, nullptr, &wait) != 1)
                continue;
            const SOCKET client = ::accept(listener_, nullptr, nullptr);
            char received[4096];
            ::recv(client, received, sizeof received, 0);
            constexpr char answer[] = "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
            ::send(client, answer, sizeof answer - 1, 0);
            ::closesocket(client);
        }
    }

    struct started_winsock {
        started_winsock() {
            WSADATA data;
            ::WSAStartup(MAKEWORD(2, 2), &data);
        }
        ~started_winsock() { ::WSACleanup(); }
    } winsock_;
    const SOCKET listener_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    int port_ = 0;
    std::jthread thread_;
};

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

TEST_F(Invoker, ReachesAnotherProcessByPortAndThroughTheMapper) {
    lab_process lab;
    set_endpoint(L"localhost", lab.port());
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(test_connection(), S_OK);
    EXPECT_EQ(do_rpc(L"Get", L"<A/>"), "<LabReply Command=\"Get\"><A/></LabReply>");
    EXPECT_THAT(lab.read_until("DoRpc"), AllOf(HasSubstr("InvokerTestConnection version=\"6.0\""),
                                               HasSubstr("DoRpc command=\"Get\" input_xml=\"<A/>\"")));

    if (!lab.maps_endpoints())
        GTEST_SKIP() << "TCP port 135 is not to be had on this machine.";
    set_endpoint(L"localhost", 0);
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(do_rpc(L"Mapped", L""), "<LabReply Command=\"Mapped\"></LabReply>");
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
    const garbage_service garbage;
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

TEST_F(Invoker, IsDrivenByTheExampleConsole) {
    const lab_process lab;
    ::SetEnvironmentVariableW(L"KORVA_PASSWORD", L"secret");
    const std::wstring options = L"--account LAB\\operator --port ";
    child_process good(L"korva-console.exe", options + std::to_wstring(lab.port()) + L" invoke Get \"<A/>\"");
    EXPECT_THAT(good.read_all(), AllOf(HasSubstr("-> <LabReply Command=\"Get\"><A/></LabReply>"),
                                       HasSubstr("4096 bytes -> 8192 bytes"), ::testing::Not(HasSubstr("secret"))));
    EXPECT_EQ(good.exit_code(), 0u);

    child_process failed(L"korva-console.exe", options + L"1 invoke");
    EXPECT_THAT(
        failed.read_all(),
        HasSubstr(" failed with HRESULT 0x80020009\r\n"
                  "    RPC function call failed. Function name: [InvokerTestConnection]. Target machine: [localhost].\r\n"
                  "    "));
    EXPECT_EQ(failed.exit_code(), 1u);
}

}  // namespace
