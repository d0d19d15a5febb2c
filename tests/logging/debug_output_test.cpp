#include "logging/debug_output_log.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/foundation/thrown.h"
#include "tests/logging/child_role.h"
#include "tests/logging/registry_setting.h"

namespace {

using logging::receiver::COutputDebugStringLog;

const wchar_t* const key = L"SOFTWARE\\KorvA\\Korva NFS";

// Listens on a UDP port of 127.0.0.1.
class listener_t {
public:
    explicit listener_t(std::uint16_t port) {
        WSADATA data;
        ::WSAStartup(MAKEWORD(2, 2), &data);  // for the rest of the process
        socket_.reset(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
        sockaddr_in address{AF_INET, ::htons(port), {}, {}};
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        u_long nonblocking = 1;
        ::ioctlsocket(socket_.get(), FIONBIO, &nonblocking);
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
    win::unique_socket socket_;
    sockaddr_in sender_{};
};

std::string debugger_output;

// The debugger's output arrives as an exception that nobody else handles.
LONG CALLBACK on_debug_output(EXCEPTION_POINTERS* info) {
    if (info->ExceptionRecord->ExceptionCode == DBG_PRINTEXCEPTION_C)
        debugger_output += reinterpret_cast<const char*>(info->ExceptionRecord->ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(DebugOutput, GoesToTheDebuggerAndACopyWhereTheRegistrySays) {
    struct row_t {
        std::optional<DWORD> enabled, port;
        std::optional<std::wstring> host;
        std::uint16_t listens_at;
        bool arrives;
    };
    const row_t rows[] = {
        {{}, 37183, {}, 37183, false},
        {0, {}, {}, 37183, false},
        {1, {}, {}, 37183, true},
        {5, 40123, L"127.0.0.1", 40123, true},
        {1, 40123, L"255.255.255.255", 40123, false},  // the system sends nothing to everybody unasked
    };
    void* const handler = ::AddVectoredExceptionHandler(1, on_debug_output);
    for (const row_t& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::optional<registry_setting_t> settings[3];
        const auto set = [](auto& setting, const wchar_t* name, const auto& value) {
            if (value)
                setting.emplace(key, name, *value);
        };
        set(settings[0], L"ExtLogEnabled", row.enabled);
        set(settings[1], L"ExtLogPort", row.port);
        set(settings[2], L"ExtLogHost", row.host);
        listener_t listener(row.listens_at);
        COutputDebugStringLog log;
        for (const std::string lines : {"one\r\ntwo \xe4\xb8\xad\r\n", "three\r\n"}) {
            log.write(lines);
            EXPECT_EQ(std::exchange(debugger_output, {}), lines);
            EXPECT_EQ(listener.received(), row.arrives ? std::optional(lines) : std::nullopt);
        }
    }
    ::RemoveVectoredExceptionHandler(handler);
}

TEST(DebugOutput, ChildProcessesDoNotInheritTheSocket) {
    const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
    listener_t listener(37183);
    auto log = std::make_unique<COutputDebugStringLog>();
    log->write("one\r\n");
    EXPECT_TRUE(listener.received());
    const child_role other("stay");
    log.reset();
    listener_t same_port(listener.port_of_sender());  // fails where the child has it
}

TEST(DebugOutput, WrongSettingsFailOnceAndLeaveTheCopyOff) {
    // Of the first message; the second one is written without.
    const auto failure = [] {
        listener_t listener(37183);
        COutputDebugStringLog log;
        const std::string text = thrown_text([&] { log.write("one\r\n"); });
        EXPECT_EQ(thrown_text([&] { log.write("two\r\n"); }), "nothing");
        EXPECT_EQ(listener.received(), std::nullopt);
        return text;
    };
    {
        const registry_setting_t text(key, L"ExtLogEnabled", L"1");
        EXPECT_EQ(failure(),
                  "Cannot retrieve a registry value. Value name: [ExtLogEnabled]. Expected value type: [4].\n"
                  "Unexpected registry type: [1].");
    }
    const registry_setting_t enabled(key, L"ExtLogEnabled", 1);
    {
        const registry_setting_t number(key, L"ExtLogHost", 1);
        EXPECT_EQ(failure(),
                  "Cannot retrieve a registry value. Value name: [ExtLogHost]. Expected value type: [1].\n"
                  "Unexpected registry type: [4].");
    }
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key);
    EXPECT_THAT(failure(), ::testing::EndsWith("Failed to open registry key [SOFTWARE\\KorvA\\Korva NFS]."));
}

}  // namespace
