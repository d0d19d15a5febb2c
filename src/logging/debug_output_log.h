#pragma once

#include <string>

#include "foundation/sockets.h"
#include "logging/log_file.h"

namespace logging::receiver {

// Writes to the debugger's output, and where the registry says so, sends a copy of each message as one UDP datagram.
//
// HKEY_LOCAL_MACHINE "SOFTWARE\KorvA\Korva NFS", read once, at the first message: "ExtLogEnabled" (DWORD, non-zero switches the
// copy on), "ExtLogHost" (text, a dotted IPv4 address), "ExtLogPort" (DWORD).
class COutputDebugStringLog : public log_file_t {
public:
    COutputDebugStringLog() = default;
    ~COutputDebugStringLog() override;
    COutputDebugStringLog(const COutputDebugStringLog&) = delete;
    COutputDebugStringLog& operator=(const COutputDebugStringLog&) = delete;

    // Throws once, at the first message, where the settings cannot be read; from then on there is no copy.
    void write(std::string_view lines) override;
    std::string path() const override { return {}; }
    std::string_view eol() const override { return "\r\n"; }
    std::uint64_t size() override { return 0; }
    void compress_to(gz_archive_t&) override {}

private:
    void read_settings();

    bool winsock_started_ = false;
    win::unique_socket socket_;
    bool external_copy_ = false;
    std::uint32_t host_ = INADDR_LOOPBACK;  // 127.0.0.1, in the host's byte order
    std::uint16_t port_ = 37183;
};

}  // namespace logging::receiver
