#include "tests/wire/peer.h"

#include <ws2tcpip.h>

#include <algorithm>
#include <stdexcept>

namespace wire {
namespace {

// A receive that waits is not ended by a shutdown from another thread everywhere, so this one looks up now and then.
bool receive(SOCKET socket, std::span<std::uint8_t> to, const std::atomic<bool>& stopping) {
    while (!to.empty()) {
        fd_set readable = {1, {socket}};
        timeval pause = {0, 50'000};
        const int ready = ::select(0, &readable, nullptr, nullptr, &pause);
        if (ready == 0 && !stopping)
            continue;
        const int got = ready > 0 ? ::recv(socket, reinterpret_cast<char*>(to.data()), static_cast<int>(to.size()), 0) : 0;
        if (got <= 0)
            return false;
        to = to.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

// In a bind: behind the fragment sizes, the group and the first context's number.
constexpr std::ptrdiff_t syntaxes_at = header_size + 16;

// Empty at the connection's end.
bytes receive_pdu(SOCKET socket, const std::atomic<bool>& stopping) {
    bytes pdu(header_size);
    if (!receive(socket, pdu, stopping))
        return {};
    pdu.resize(std::max<std::size_t>(header_size, get16(pdu, length_at)));
    return receive(socket, std::span(pdu).subspan(header_size), stopping) ? pdu : bytes();
}

void send_all(SOCKET socket, const bytes& data) {
    for (std::size_t at = 0; at < data.size();) {
        const int sent = ::send(socket, reinterpret_cast<const char*>(data.data() + at), static_cast<int>(data.size() - at), 0);
        if (sent <= 0)
            return;
        at += static_cast<std::size_t>(sent);
    }
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// Closing with this set sends a reset instead of an orderly end.
void arm_reset(SOCKET socket) {
    const linger hard = {1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard), sizeof hard);
}

// The stub bytes of a request fragment: behind the header, the 8 bytes of the request and an object's UUID if there is one,
// without the verifier and its padding.
bytes fragment_stub(const bytes& pdu) {
    const std::ptrdiff_t begin = header_size + 8 + ((pdu[flags_at] & 0x80) ? 16 : 0);
    std::size_t end = pdu.size();
    if (const std::size_t auth_length = get16(pdu, auth_length_at)) {
        end -= auth_length + 8;
        end -= pdu[end + 2];
    }
    return {pdu.begin() + begin, pdu.begin() + static_cast<std::ptrdiff_t>(end)};
}

}  // namespace

behaviour_t replying(bytes stub) {
    return {
        .reply = [stub = std::move(stub)](const request_t&, std::uint32_t call_id) { return response_pdus(call_id, stub); }};
}

behaviour_t faulting(std::uint32_t status) {
    return {.reply = [status](const request_t&, std::uint32_t call_id) { return fault(call_id, status); }};
}

behaviour_t sending(bytes raw) {
    return {.end = behaviour_t::end_t::closed_after_reply,
            .reply = [raw = std::move(raw)](const request_t&, std::uint32_t) { return raw; }};
}

behaviour_t sending_at_bind(bytes raw) {
    return {.refuse_bind = [raw = std::move(raw)](std::uint32_t) { return raw; }};
}

peer::peer(std::vector<behaviour_t> script, std::uint16_t port) : script_(std::move(script)) {
    WSADATA data;
    ::WSAStartup(MAKEWORD(2, 2), &data);
    listener_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = loopback(port);
    int length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener_, 64) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("the peer found no port");
    port_ = ntohs(address.sin_port);
    acceptor_ = std::jthread([this] { accept_loop(); });
}

peer::~peer() {
    // Closing a listener does not end an accept that waits on it everywhere; a last connection does.
    stopping_ = true;
    const SOCKET waker = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const sockaddr_in address = loopback(port_);
    ::connect(waker, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    acceptor_.join();
    ::closesocket(waker);
    ::closesocket(listener_);
    connections_.clear();
    ::WSACleanup();
}

void peer::play(behaviour_t behaviour) {
    const std::lock_guard lock(mutex_);
    script_ = {std::move(behaviour)};
}

std::vector<request_t> peer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

behaviour_t peer::behaviour(std::size_t connection) const {
    const std::lock_guard lock(mutex_);
    return script_.at(std::min(connection, script_.size() - 1));
}

void peer::accept_loop() {
    for (std::size_t connection = 0;; ++connection) {
        const SOCKET socket = ::accept(listener_, nullptr, nullptr);
        if (socket == INVALID_SOCKET)
            return;
        connections_.remove_if([](const connection_t& c) { return c.ended.load(); });
        connection_t& opened = connections_.emplace_back();
        opened.thread = std::jthread([this, socket, connection, &opened] {
            serve(socket, connection);
            ::closesocket(socket);
            opened.ended = true;
        });
        if (stopping_)
            return;
    }
}

void peer::serve(SOCKET socket, std::size_t connection) {
    using end_t = behaviour_t::end_t;
    const behaviour_t at_start = behaviour(connection);
    if (at_start.end == end_t::at_accept)
        return arm_reset(socket);

    request_t request{};
    for (bytes pdu; !(pdu = receive_pdu(socket, stopping_)).empty();) {
        const auto type = static_cast<pdu_type>(pdu[type_at]);
        const std::uint32_t call_id = get32(pdu, call_id_at);
        if (type == pdu_type::bind || type == pdu_type::alter_context) {
            if (at_start.end == end_t::at_bind)
                return arm_reset(socket);
            if (at_start.refuse_bind)
                return send_all(socket, at_start.refuse_bind(call_id));
            request.syntaxes.assign(pdu.begin() + syntaxes_at, pdu.begin() + syntaxes_at + 2 * 20);
            const std::size_t auth_length = get16(pdu, auth_length_at);
            const std::uint8_t auth_level = auth_length == 0 ? 0 : pdu[pdu.size() - auth_length - 7];
            const auto answer = type == pdu_type::bind ? pdu_type::bind_ack : pdu_type::alter_context_response;
            send_all(socket, bind_ack(answer, call_id, 0, auth_level));
            if (at_start.end == end_t::after_bind)
                return arm_reset(socket);
        } else if (type == pdu_type::request) {
            if (pdu[flags_at] & first_fragment)
                request = {get16(pdu, header_size + 6), {}, std::move(request.syntaxes)};
            const bytes stub = fragment_stub(pdu);
            request.stub.insert(request.stub.end(), stub.begin(), stub.end());
            if (!(pdu[flags_at] & last_fragment))
                continue;
            const behaviour_t now = behaviour(connection);
            if (now.keep_requests) {
                const std::lock_guard lock(mutex_);
                requests_.push_back(request);
            }
            const bytes answer = now.reply ? now.reply(request, call_id) : bytes();
            send_all(socket, answer);
            if (answer.empty() || now.end == end_t::after_reply)
                return arm_reset(socket);
            if (now.end == end_t::closed_after_reply)
                return;
        }  // else the last message of the NTLM exchange, which nothing answers
    }
}

}  // namespace wire
