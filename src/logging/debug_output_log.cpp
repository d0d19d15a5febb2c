#include "logging/debug_output_log.h"

#include <windows.h>
#include <ws2tcpip.h>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "logging/registry_values.h"

namespace logging::receiver {
namespace {

void to_debugger(std::string_view lines) {
    std::string bytes;
    try {
        bytes = text::to_code_page(lines);
    } catch (const exc::exc_base_t&) {
        bytes = lines;  // better badly shown than not at all
    }
    ::OutputDebugStringA(bytes.c_str());
}

}  // namespace

COutputDebugStringLog::~COutputDebugStringLog() {
    socket_.reset();
    if (winsock_started_)
        ::WSACleanup();
}

void COutputDebugStringLog::write(std::string_view lines) {
    to_debugger(lines);
    if (!socket_) {
        WSADATA data;
        winsock_started_ = winsock_started_ || ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
        socket_.reset(::WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT));
        if (socket_)
            read_settings();
    }
    if (!socket_ || !external_copy_)
        return;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(host_);
    address.sin_port = ::htons(port_);
    ::sendto(socket_.get(), lines.data(), static_cast<int>(lines.size()), 0, reinterpret_cast<const sockaddr*>(&address),
             sizeof address);
}

void COutputDebugStringLog::read_settings() {
    const win::unique_registry_key key = win::open_machine_key("SOFTWARE\\KorvA\\Korva NFS");
    const bool enabled = win::dword_value(key, "ExtLogEnabled").value_or(0) != 0;
    const std::optional<std::string> host = win::string_value(key, "ExtLogHost");
    const std::optional<std::uint32_t> port = win::dword_value(key, "ExtLogPort");
    if (host) {
        IN_ADDR address;
        if (::InetPtonW(AF_INET, text::widen(*host).c_str(), &address) != 1)
            throw exc::runtime_exc_t(text::format("Invalid IPv4 address: [%1].", *host));
        host_ = ::ntohl(address.s_addr);
    }
    if (port)
        port_ = static_cast<std::uint16_t>(*port);
    external_copy_ = enabled;
}

}  // namespace logging::receiver
