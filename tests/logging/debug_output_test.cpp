#include "logging/debug_output_log.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>

#include "tests/foundation/thrown.h"
#include "tests/logging/child.h"
#include "tests/logging/registry_setting.h"

namespace {

using logging::receiver::COutputDebugStringLog;
using logging::receiver::unique_socket;

const wchar_t* const key = L"SOFTWARE\\KorvA\\Korva NFS";

// Listens on a UDP port of 127.0.0.1.
class listener_t {
public:
    explicit listener_t(std::uint16_t port) {
        WSADATA data;
        ::WSAStartup(MAKEWORD(2, 2), &data);
        socket_.reset(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        address.sin_port = ::htons(port);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        u_long nonblocking = 1;
        ::ioctlsocket(socket_.get(), FIONBIO, &nonblocking);
    }
    ~listener_t() {
        socket_.reset();
        ::WSACleanup();
    }

    // A datagram to this machine itself is there as soon as it is sent.
    std::optional<std::string> received() {
        char bytes[256];
        int address_length = sizeof sender_;
        const int length =
            ::recvfrom(socket_.get(), bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&sender_), &address_length);
        return length >= 0 ? std::optional(std::string(bytes, static_cast<std::size_t>(length))) : std::nullopt;
    }

    std::uint16_t port_of_sender() const { return ::ntohs(sender_.sin_port); }

private:
    unique_socket socket_;
    sockaddr_in sender_{};
};

std::string* debugger_output = nullptr;

// The debugger's output arrives as an exception that nobody else handles.
LONG CALLBACK on_debug_output(EXCEPTION_POINTERS* info) {
    if (debugger_output && info->ExceptionRecord->ExceptionCode == DBG_PRINTEXCEPTION_C)
        *debugger_output += reinterpret_cast<const char*>(info->ExceptionRecord->ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(DebugOutput, GoesToTheDebuggerAndNowhereElseByItself) {
    const registry_setting_t disabled(key, L"ExtLogEnabled", DWORD{0});
    listener_t listener(37183);
    std::string output;
    debugger_output = &output;
    void* const handler = ::AddVectoredExceptionHandler(1, on_debug_output);
    COutputDebugStringLog log;
    log.write("one\r\n");
    ::RemoveVectoredExceptionHandler(handler);
    debugger_output = nullptr;
    EXPECT_EQ(output, "one\r\n");
    EXPECT_EQ(listener.received(), std::nullopt);
    EXPECT_EQ(log.eol(), "\r\n");
    EXPECT_EQ(log.size(), 0u);

    ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, L"ExtLogEnabled");
    const registry_setting_t port_alone(key, L"ExtLogPort", 37183);
    COutputDebugStringLog().write("two\r\n");
    EXPECT_EQ(listener.received(), std::nullopt);
}

TEST(DebugOutput, SendsACopyToTheDefaultAddress) {
    const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
    listener_t listener(37183);
    auto log = std::make_unique<COutputDebugStringLog>();
    log->write("one\r\ntwo \xe4\xb8\xad\r\n");
    log->write("three\r\n");
    EXPECT_EQ(listener.received(), "one\r\ntwo \xe4\xb8\xad\r\n");
    EXPECT_EQ(listener.received(), "three\r\n");
    EXPECT_EQ(listener.received(), std::nullopt);

    child::process_t other("stay", {}, true);
    other.wait_until_ready();
    log.reset();
    listener_t same_port(listener.port_of_sender());  // fails where the child has inherited the socket
}

TEST(DebugOutput, SendsTheCopyWhereTheRegistrySays) {
    const registry_setting_t enabled(key, L"ExtLogEnabled", 5);
    const registry_setting_t host(key, L"ExtLogHost", L"127.0.0.1");
    const registry_setting_t port(key, L"ExtLogPort", 40123);
    listener_t listener(40123);
    COutputDebugStringLog log;
    log.write("one\r\n");
    EXPECT_EQ(listener.received(), "one\r\n");

    const registry_setting_t nowhere(key, L"ExtLogHost", L"255.255.255.255");  // the system sends nothing to everybody unasked
    COutputDebugStringLog().write("two\r\n");
    EXPECT_EQ(listener.received(), std::nullopt);
}

TEST(DebugOutput, WrongSettingsFailOnceAndLeaveTheCopyOff) {
    // Of the first message; the second one is written without.
    const auto failure = [] {
        COutputDebugStringLog log;
        const std::string text = thrown_text([&] { log.write("one\r\n"); });
        EXPECT_EQ(thrown_text([&] { log.write("two\r\n"); }), "nothing");
        return text;
    };
    listener_t listener(37183);
    {
        const registry_setting_t text(key, L"ExtLogEnabled", L"1");
        EXPECT_EQ(failure(),
                  "Cannot retrieve a registry value. Value name: [ExtLogEnabled]. Expected value type: [4].\n"
                  "Unexpected registry type: [1].");
    }
    {
        const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
        const registry_setting_t number(key, L"ExtLogHost", 1);
        EXPECT_EQ(failure(),
                  "Cannot retrieve a registry value. Value name: [ExtLogHost]. Expected value type: [1].\n"
                  "Unexpected registry type: [4].");
    }
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key);
    EXPECT_THAT(failure(), ::testing::EndsWith("Failed to open registry key [SOFTWARE\\KorvA\\Korva NFS]."));
    EXPECT_EQ(listener.received(), std::nullopt);
}

}  // namespace
