#pragma once

#include <winsock2.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/wire/pdu.h"

namespace wire {

// One request as it came: operation number and stub, the verifier taken off.
struct request_t {
    std::uint16_t operation;
    bytes stub;
};

// What the peer does on one connection. The first connection takes the first entry of the script, and so on; the last entry
// serves all that follow. When another script is played, connections that are open take its first entry.
struct behaviour_t {
    enum class bind_t { accept, reset_at_accept, reset_after_bind, refuse, reject_context, garbage } on_bind = bind_t::accept;
    std::uint16_t bind_reason = 0;  // of refuse (the nak's) and reject_context (the result's)
    bool reset_after_bind_ack = false;

    // What answers a request; the call id is the request's. Nothing returned: the connection is reset instead.
    std::function<bytes(const request_t&, std::uint32_t call_id)> reply;
    bool reset_after_reply = false;
    bool keep_requests = true;  // for requests(); a benchmark has too many
};

// Answers every request with this stub.
behaviour_t replying(bytes stub);
behaviour_t faulting(std::uint32_t status);
behaviour_t resetting_after_request();
// Sends these bytes as they are instead of a response.
behaviour_t sending(bytes raw);

// A DCE/RPC server on a plain socket of the loopback address that knows no IDL and no RPC runtime.
class peer {
public:
    explicit peer(std::vector<behaviour_t> script = {behaviour_t{}});
    ~peer();

    std::uint16_t port() const noexcept { return port_; }
    void play(std::vector<behaviour_t> script);

    std::vector<request_t> requests() const;
    bytes last_stub() const;
    void forget();

private:
    void accept_loop();
    void serve(SOCKET socket, behaviour_t behaviour, unsigned script);

    SOCKET listener_;
    std::uint16_t port_ = 0;
    mutable std::mutex mutex_;
    std::vector<behaviour_t> script_;
    std::size_t next_ = 0;
    unsigned played_ = 0;
    std::vector<request_t> requests_;
    std::atomic<bool> stopping_ = false;
    std::vector<std::jthread> threads_;
    std::jthread acceptor_;
};

}  // namespace wire
