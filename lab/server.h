#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "lab/endpoint_mapper.h"

namespace lab {

struct server_options {
    // TCP ports to listen on, all with the same interfaces; 0 is one that the process has already, else any that is free.
    std::vector<unsigned> ports = {0};
    bool deployment = true;
    bool integration = true;
    bool invoker = true;
    // Also serve the endpoint mapper on TCP port 135, where that is to be had, so that clients need no port.
    bool mapper = false;
    // Before each reply; none: as set_reply_pause (serve.h) has it by default. A benchmark may want 0 and live with the risk.
    std::optional<unsigned> reply_pause_ms = std::nullopt;
};

// The three services on this process's RPC runtime: serving once constructed; the destructor waits for the calls that run and
// ends the services, whoever is connected. One at a time: the runtime's server is the process's. A port that was served stays
// bound to the process (the runtime cannot give it back).
class server {
public:
    // Throws exc::win_sys_exc_t, for a port that is taken with code 1740 (duplicate endpoint).
    explicit server(const server_options& options = {});
    ~server();
    server(const server&) = delete;
    server& operator=(const server&) = delete;

    unsigned port() const { return ports_.front(); }
    // In the order of the options.
    const std::vector<unsigned>& ports() const { return ports_; }
    // Whether the endpoint mapper was asked for and got its port.
    bool maps_endpoints() const { return mapper_ != nullptr; }

private:
    void register_interfaces(const server_options& options);
    void start_mapper();
    void stop() noexcept;

    std::vector<void*> interfaces_;
    std::vector<unsigned> ports_;
    std::unique_ptr<endpoint_mapper> mapper_;
};

}  // namespace lab
