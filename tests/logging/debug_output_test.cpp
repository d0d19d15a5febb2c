#include "logging/debug_output_log.h"

#include <gmock/gmock.h>

#include <optional>

#include "foundation/errors.h"
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
        const int length = ::recv(socket_.get(), bytes, sizeof bytes, 0);
        return length >= 0 ? std::optional(std::string(bytes, static_cast<std::size_t>(length))) : std::nullopt;
    }

private:
    unique_socket socket_;
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
}

TEST(DebugOutput, SendsACopyToTheDefaultAddress) {
    const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
    listener_t listener(37183);
    COutputDebugStringLog log;
    log.write("one\r\ntwo \xe4\xb8\xad\r\n");
    log.write("three\r\n");
    EXPECT_EQ(listener.received(), "one\r\ntwo \xe4\xb8\xad\r\n");
    EXPECT_EQ(listener.received(), "three\r\n");
    EXPECT_EQ(listener.received(), std::nullopt);
}

TEST(DebugOutput, SendsTheCopyWhereTheRegistrySays) {
    const registry_setting_t enabled(key, L"ExtLogEnabled", 5);
    const registry_setting_t host(key, L"ExtLogHost", L"127.0.0.1");
    const registry_setting_t port(key, L"ExtLogPort", 40123);
    listener_t listener(40123);
    COutputDebugStringLog log;
    log.write("one\r\n");
    EXPECT_EQ(listener.received(), "one\r\n");
}

TEST(DebugOutput, WrongSettingsFailOnceAndLeaveTheCopyOff) {
    const auto failure = [](COutputDebugStringLog& log) {
        try {
            log.write("one\r\n");
            return std::string();
        } catch (const exc::exc_base_t& error) {
            return std::string(error.what());
        }
    };
    listener_t listener(37183);
    {
        const registry_setting_t text(key, L"ExtLogEnabled", L"1");
        COutputDebugStringLog log;
        EXPECT_EQ(failure(log),
                  "Cannot retrieve a registry value. Value name: [ExtLogEnabled]. Expected value type: [4].\n"
                  "Unexpected registry type: [1].");
        EXPECT_EQ(failure(log), "");
    }
    {
        const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
        const registry_setting_t number(key, L"ExtLogHost", 1);
        COutputDebugStringLog log;
        EXPECT_THAT(failure(log),
                    ::testing::HasSubstr("[ExtLogHost]. Expected value type: [1].\nUnexpected registry type: [4]."));
        EXPECT_EQ(failure(log), "");
    }
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key);
    COutputDebugStringLog log;
    EXPECT_THAT(failure(log), ::testing::EndsWith("Failed to open registry key [SOFTWARE\\KorvA\\Korva NFS]."));
    EXPECT_EQ(failure(log), "");
    EXPECT_EQ(listener.received(), std::nullopt);
}

}  // namespace
