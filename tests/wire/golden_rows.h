#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "rpc/client.h"
#include "tests/wire/peer.h"

// Every procedure of the three interfaces, byte for byte. The bytes follow from the transfer syntax: little-endian NDR, each
// item aligned to its own size from the start of the stub.
namespace wire {

struct row_t {
    const char* name;
    std::uint16_t operation;
    std::string request;
    std::string reply;
    std::function<void(win::rpc::CRpcClientBase&)> run;  // calls, and checks the outputs
};

struct table_t {
    const char* name;
    std::shared_ptr<win::rpc::CRpcClientBase> (*make_client)(win::rpc::rpc_functions_t);
    std::span<const row_t> rows;
};

std::span<const table_t> golden_tables();

// The row's reply, or a new remote file where the row has to create one before its own request.
bytes golden_reply(const row_t& row, const request_t& request);

}  // namespace wire
