#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/format.h"
#include "stubs/call_result.h"
#include "tests/rpc/loopback_server.h"

// What the loopback's server functions share.
namespace loopback {

struct served_t {
    std::mutex mutex;
    std::string request;
    bool failing = false;
    std::optional<std::wstring> message;
    std::atomic<records_t> records = records_t::whole;
    std::atomic<long> open_files = 0;
};
served_t& served();

wchar_t* rpc_string(const wchar_t* text);

void note(rpc_call_result_t* result, std::string request);

// Notes the request and answers as the test has set it.
template <class... Inputs>
void serve(rpc_call_result_t* result, const char* name, const Inputs&... inputs) {
    std::string request(name);
    ((request += '|', request += text::arg_t(inputs).view()), ...);
    note(result, std::move(request));
}

// A record of a reply, zeroed; null where the test asks for none.
template <class Record>
Record* record() {
    return served().records == records_t::missing ? nullptr : static_cast<Record*>(MIDL_user_allocate(sizeof(Record)));
}

}  // namespace loopback
