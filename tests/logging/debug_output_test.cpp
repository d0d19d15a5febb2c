#include "logging/debug_output_log.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/system_text.h"
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
    const struct {
        registry_values_t settings;
        std::uint16_t listens_at;
        bool arrives;
    } rows[] = {
        {{{L"ExtLogPort", 37183u}}, 37183, false},
        {{{L"ExtLogEnabled", 0u}}, 37183, false},
        {{{L"ExtLogEnabled", 1u}}, 37183, true},
        {{{L"ExtLogEnabled", 5u}, {L"ExtLogPort", 40123u}, {L"ExtLogHost", L"127.0.0.1"}}, 40123, true},
        // The system sends nothing to everybody unasked.
        {{{L"ExtLogEnabled", 1u}, {L"ExtLogPort", 40123u}, {L"ExtLogHost", L"255.255.255.255"}}, 40123, false},
    };
    void* const handler = ::AddVectoredExceptionHandler(1, on_debug_output);
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const registry_setting_t settings(key, row.settings);
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
    const registry_setting_t enabled(key, {{L"ExtLogEnabled", 1u}});
    listener_t listener(37183);
    auto log = std::make_unique<COutputDebugStringLog>();
    log->write("one\r\n");
    EXPECT_TRUE(listener.received());
    const child_role other("stay");
    log.reset();
    listener_t same_port(listener.port_of_sender());  // fails where the child has it
}

TEST(DebugOutput, WrongSettingsFailOnceAndLeaveTheCopyOff) {
    const std::pair<registry_values_t, std::string> rows[] = {
        {{{L"ExtLogEnabled", L"1"}},
         "Cannot retrieve a registry value. Value name: [ExtLogEnabled]. Expected value type: [4].\n"
         "Unexpected registry type: [1]."},
        {{{L"ExtLogEnabled", 1u}, {L"ExtLogHost", 1u}},
         "Cannot retrieve a registry value. Value name: [ExtLogHost]. Expected value type: [1].\n"
         "Unexpected registry type: [4]."},
        {{}, exc::system_error_text(ERROR_FILE_NOT_FOUND) + "\nFailed to open registry key [SOFTWARE\\KorvA\\Korva NFS]."},
    };
    for (const auto& [values, failure] : rows) {
        const registry_setting_t settings(key, values);
        listener_t listener(37183);
        COutputDebugStringLog log;
        EXPECT_EQ(thrown_text([&] { log.write("one\r\n"); }), failure);
        EXPECT_EQ(thrown_text([&] { log.write("two\r\n"); }), "nothing");
        EXPECT_EQ(listener.received(), std::nullopt);
    }
}

}  // namespace
