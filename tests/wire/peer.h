#pragma once

#include <winsock2.h>

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/wire/pdu.h"

namespace wire {

// One request as it came: operation number and stub, the verifier taken off.
struct request_t {
    std::uint16_t operation;
    bytes stub;
    bytes syntaxes;  // of its bind: the interface and the transfer syntax, each as its UUID and version
};

// What the peer does on one connection. The first connection takes the first entry of the script, and so on; the last entry
// serves all that follow.
struct behaviour_t {
    // Where the connection ends: by a reset, with "closed" in good order.
    enum class end_t { open, at_accept, at_bind, after_bind, after_reply, closed_after_reply } end = end_t::open;

    // Answers a bind instead of the acceptance; the connection ends behind it.
    std::function<bytes(std::uint32_t call_id)> refuse_bind = {};
    // What answers a request; the call id is the request's. Nothing returned: the connection is reset instead.
    std::function<bytes(const request_t&, std::uint32_t call_id)> reply = {};
    bool keep_requests = true;  // for requests(); a benchmark has too many
};

// Answers every request with this stub.
behaviour_t replying(bytes stub);
behaviour_t faulting(std::uint32_t status);
// Sends these bytes as they are instead of a response, or of the acceptance of a bind.
behaviour_t sending(bytes raw);
behaviour_t sending_at_bind(bytes raw);

// A DCE/RPC server on a plain socket of the loopback address that knows no IDL and no RPC runtime.
class peer {
public:
    // Port 0: any that is free. Throws std::runtime_error where the port is not to be had.
    explicit peer(std::vector<behaviour_t> script = {behaviour_t{}}, std::uint16_t port = 0);
    ~peer();

    std::uint16_t port() const noexcept { return port_; }
    // From now on this, also on connections that are open.
    void play(behaviour_t behaviour);
    // All that came and were kept.
    std::vector<request_t> requests() const;

private:
    struct connection_t {
        std::atomic<bool> ended = false;
        std::jthread thread = {};
    };
    void accept_loop();
    void serve(SOCKET socket, std::size_t connection);
    behaviour_t behaviour(std::size_t connection) const;

    SOCKET listener_;
    std::uint16_t port_;
    mutable std::mutex mutex_;
    std::vector<behaviour_t> script_;
    std::vector<request_t> requests_;
    std::atomic<bool> stopping_ = false;
    std::list<connection_t> connections_;
    std::jthread acceptor_;
};

}  // namespace wire
