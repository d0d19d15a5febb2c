#include <list>
#include <memory>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/sockets.h"
#include "lab/endpoint_mapper.h"

namespace lab {
namespace {

void check_winsock(bool good, const std::string& message) {
    if (!good)
        throw exc::win_sys_exc_t(message, static_cast<std::uint32_t>(::WSAGetLastError()));
}

win::unique_socket listen_on(unsigned port) {
    static const bool winsock = [] {
        WSADATA data;
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    check_winsock(winsock, "WSAStartup");
    win::unique_socket listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    check_winsock(static_cast<bool>(listener), "socket");
    const BOOL exclusive = TRUE;  // never beside a mapper that is there already
    ::setsockopt(listener.get(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&exclusive), sizeof exclusive);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = ::htons(static_cast<u_short>(port));
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    check_winsock(::bind(listener.get(), generic, sizeof address) == 0 && ::listen(listener.get(), SOMAXCONN) == 0,
                  text::format("Cannot listen on port %1.", port));
    return listener;
}

struct connection_t {
    win::unique_socket socket;
    std::vector<std::uint8_t> received;
};

// Answers every whole PDU that has come. False: the connection is at its end.
bool serve(connection_t& connection, std::span<const mapped_interface> interfaces) {
    constexpr std::size_t header_size = 16, length_position = 8, largest = 4096;
    std::uint8_t buffer[largest];
    const int got = ::recv(connection.socket.get(), reinterpret_cast<char*>(buffer), sizeof buffer, 0);
    if (got <= 0)
        return false;
    auto& received = connection.received;
    received.insert(received.end(), buffer, buffer + got);
    while (received.size() >= header_size) {
        const std::size_t length = received[length_position] | received[length_position + 1] << 8;
        if (length < header_size || length > largest)
            return false;
        if (received.size() < length)
            break;
        const auto reply = answer_mapper_pdu(std::span(received).first(length), interfaces);
        const int size = static_cast<int>(reply.size());
        // A reply is small enough for the socket's buffer.
        if (reply.empty() || ::send(connection.socket.get(), reinterpret_cast<const char*>(reply.data()), size, 0) != size)
            return false;
        received.erase(received.begin(), received.begin() + static_cast<std::ptrdiff_t>(length));
    }
    return true;
}

void run(const std::stop_token& stop, const win::unique_socket& listener, std::span<const mapped_interface> interfaces) {
    std::list<connection_t> connections;
    while (!stop.stop_requested()) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(listener.get(), &readable);
        for (const connection_t& connection : connections)
            FD_SET(connection.socket.get(), &readable);
        timeval wait = {0, 100000};  // microseconds: how late a stop may be
        if (::select(0, &readable, nullptr, nullptr, &wait) <= 0)
            continue;
        std::erase_if(connections, [&](connection_t& connection) {
            return FD_ISSET(connection.socket.get(), &readable) && !serve(connection, interfaces);
        });
        if (FD_ISSET(listener.get(), &readable)) {
            win::unique_socket accepted(::accept(listener.get(), nullptr, nullptr));
            u_long on = 1;  // who sends and never reads loses its connection, and holds up nobody
            if (accepted && ::ioctlsocket(accepted.get(), FIONBIO, &on) == 0 && connections.size() < FD_SETSIZE - 1)
                connections.push_back({std::move(accepted), {}});
        }
    }
}

}  // namespace

endpoint_mapper::endpoint_mapper(std::vector<mapped_interface> interfaces, unsigned port) : interfaces_(std::move(interfaces)) {
    thread_ =
        std::jthread([this, listener = listen_on(port)](const std::stop_token& stop) { run(stop, listener, interfaces_); });
}

}  // namespace lab
