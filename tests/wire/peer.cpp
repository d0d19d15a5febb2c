#include "tests/wire/peer.h"

#include <ws2tcpip.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace wire {
namespace {

// A receive that waits is not ended by a shutdown from another thread everywhere, so this one looks up now and then.
bool receive_exactly(SOCKET socket, std::uint8_t* to, std::size_t count, const std::atomic<bool>& stopping) {
    while (count > 0) {
        fd_set readable = {1, {socket}};
        timeval pause = {0, 50'000};
        const int ready = ::select(0, &readable, nullptr, nullptr, &pause);
        if (ready < 0 || (ready == 0 && stopping))
            return false;
        if (ready == 0)
            continue;
        const int got = ::recv(socket, reinterpret_cast<char*>(to), static_cast<int>(count), 0);
        if (got <= 0)
            return false;
        to += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

std::optional<bytes> receive_pdu(SOCKET socket, const std::atomic<bool>& stopping) {
    bytes pdu(header_size);
    if (!receive_exactly(socket, pdu.data(), pdu.size(), stopping))
        return std::nullopt;
    const std::uint16_t length = read_header(pdu).fragment_length;
    if (length < header_size)
        return std::nullopt;
    pdu.resize(length);
    if (!receive_exactly(socket, pdu.data() + header_size, length - header_size, stopping))
        return std::nullopt;
    return pdu;
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
bytes fragment_stub(const bytes& pdu, const header_t& header) {
    const std::size_t begin = header_size + 8 + ((header.flags & 0x80) ? 16 : 0);
    std::size_t end = pdu.size();
    if (header.auth_length > 0) {
        end -= header.auth_length + 8u;
        end -= pdu[end + 2];
    }
    return {pdu.begin() + static_cast<std::ptrdiff_t>(begin), pdu.begin() + static_cast<std::ptrdiff_t>(end)};
}

}  // namespace

behaviour_t replying(bytes stub) {
    behaviour_t behaviour;
    behaviour.reply = [stub = std::move(stub)](const request_t&, std::uint32_t call_id) {
        return response_pdus(call_id, stub);
    };
    return behaviour;
}

behaviour_t faulting(std::uint32_t status) {
    behaviour_t behaviour;
    behaviour.reply = [status](const request_t&, std::uint32_t call_id) {
        return make_pdu(pdu_type::fault, first_fragment | last_fragment, call_id, fault_body(status));
    };
    return behaviour;
}

behaviour_t resetting_after_request() { return {}; }

behaviour_t sending(bytes raw) {
    behaviour_t behaviour;
    behaviour.reply = [raw = std::move(raw)](const request_t&, std::uint32_t) { return raw; };
    behaviour.reset_after_reply = true;
    return behaviour;
}

peer::peer(std::vector<behaviour_t> script) : script_(std::move(script)) {
    WSADATA data;
    ::WSAStartup(MAKEWORD(2, 2), &data);
    listener_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = loopback(0);
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
    threads_.clear();
    ::WSACleanup();
}

void peer::play(std::vector<behaviour_t> script) {
    const std::lock_guard lock(mutex_);
    script_ = std::move(script);
    next_ = 0;
    ++played_;
}

std::vector<request_t> peer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

bytes peer::last_stub() const {
    const std::lock_guard lock(mutex_);
    return requests_.empty() ? bytes() : requests_.back().stub;
}

void peer::forget() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
}

void peer::accept_loop() {
    for (;;) {
        const SOCKET socket = ::accept(listener_, nullptr, nullptr);
        if (socket == INVALID_SOCKET)
            return;
        if (stopping_) {
            ::closesocket(socket);
            return;
        }
        const std::lock_guard lock(mutex_);
        behaviour_t behaviour = script_.at(std::min(next_, script_.size() - 1));
        ++next_;
        threads_.emplace_back([this, socket, behaviour = std::move(behaviour), script = played_] {
            try {
                serve(socket, behaviour, script);
            } catch (const std::exception&) {
                // The client sent what is no PDU; the test sees that its request never came.
            }
            ::closesocket(socket);
        });
    }
}

void peer::serve(SOCKET socket, behaviour_t behaviour, unsigned script) {
    using bind_t = behaviour_t::bind_t;
    if (behaviour.on_bind == bind_t::reset_at_accept)
        return arm_reset(socket);

    request_t request{};
    while (const auto pdu = receive_pdu(socket, stopping_)) {
        const header_t header = read_header(*pdu);
        switch (header.type) {
            case pdu_type::bind:
            case pdu_type::alter_context: {
                const std::uint8_t whole = first_fragment | last_fragment;
                if (behaviour.on_bind == bind_t::reset_after_bind)
                    return arm_reset(socket);
                if (behaviour.on_bind == bind_t::garbage)
                    return send_all(socket, bytes(64, 0xCC));
                if (behaviour.on_bind == bind_t::refuse)
                    return send_all(socket,
                                    make_pdu(pdu_type::bind_nak, whole, header.call_id, bind_nak_body(behaviour.bind_reason)));
                const bool reject = behaviour.on_bind == bind_t::reject_context;
                const bytes body = bind_ack_body(reject ? 2 : 0, reject ? behaviour.bind_reason : 0);
                const auto type = header.type == pdu_type::bind ? pdu_type::bind_ack : pdu_type::alter_context_response;
                auth_t auth{};
                if (header.auth_length > 0)
                    auth = {(*pdu)[pdu->size() - header.auth_length - 7u], ntlm_challenge()};
                send_all(socket, make_pdu(type, whole, header.call_id, body, header.auth_length > 0 ? &auth : nullptr));
                if (behaviour.reset_after_bind_ack)
                    return arm_reset(socket);
                break;
            }
            case pdu_type::request: {
                if (header.flags & first_fragment)
                    request = {get16(*pdu, header_size + 6), {}};
                const bytes stub = fragment_stub(*pdu, header);
                request.stub.insert(request.stub.end(), stub.begin(), stub.end());
                if (!(header.flags & last_fragment))
                    break;
                {
                    const std::lock_guard lock(mutex_);
                    if (behaviour.keep_requests)
                        requests_.push_back(request);
                    if (script != played_)
                        behaviour = script_.front();
                    script = played_;
                }
                const bytes answer = behaviour.reply ? behaviour.reply(request, header.call_id) : bytes();
                if (answer.empty())
                    return arm_reset(socket);
                send_all(socket, answer);
                if (behaviour.reset_after_reply)
                    return;
                break;
            }
            default:  // the last message of the NTLM exchange, which nothing answers
                break;
        }
    }
}

}  // namespace wire
