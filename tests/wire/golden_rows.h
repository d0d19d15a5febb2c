#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "rpc/catalogue.h"
#include "rpc/client.h"
#include "tests/wire/peer.h"

// The rows of golden_rows.txt.
namespace wire {

struct row_t {
    std::string line;  // as it stands in the file
    std::uint16_t operation;
    std::string request, reply;  // forms
    std::string outputs;

    // Makes the call and tells, as the row's outputs do: the command's name, "once" where it may not be repeated, the text of
    // an error where there was one, and the outputs.
    std::function<std::string(win::rpc::CRpcClientBase&)> run;
};

using procedure_t = std::function<std::string(win::rpc::CRpcClientBase&, const std::string& inputs)>;

struct table_t {
    std::string name;  // of the service
    win::rpc::service_t service;
    std::shared_ptr<win::rpc::CRpcClientBase> (*make_client)(win::rpc::rpc_functions_t);
    std::span<const procedure_t> procedures;  // by operation number
    bytes syntaxes;                           // as request_t has them
    std::vector<row_t> rows;
};

std::span<const table_t> golden_tables();

// A client of the table's service at a peer of this machine, with an account, that repeats calls without waiting.
std::shared_ptr<win::rpc::CRpcClientBase> client_of(const table_t& table, std::uint32_t port);

// The row's reply, or a new remote file where the row has to create one before its own request.
bytes golden_reply(const row_t& row, const request_t& request);

}  // namespace wire
