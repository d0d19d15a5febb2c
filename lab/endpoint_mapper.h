#pragma once

#include <cstdint>
#include <thread>
#include <vector>

#include "lab/ept_map.h"

namespace lab {

// A small endpoint mapper: a connection-oriented DCE/RPC server on a plain socket that knows ept_map and nothing else. It lets
// clients that name no port find the lab. One thread of its own serves all connections, which may be as hostile as they like.
class endpoint_mapper {
public:
    static constexpr unsigned well_known_port = 135;

    // Throws exc::win_sys_exc_t where the port is taken or not allowed.
    explicit endpoint_mapper(std::vector<mapped_interface> interfaces, unsigned port = well_known_port);

private:
    std::vector<mapped_interface> interfaces_;
    std::jthread thread_;  // asked to stop and joined by its destructor
};

// The reply PDU to a request PDU of the mapper, empty where the connection is to be closed.
std::vector<std::uint8_t> answer_mapper_pdu(std::span<const std::uint8_t> pdu, std::span<const mapped_interface> interfaces);

}  // namespace lab
