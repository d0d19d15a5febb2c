#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <thread>

#include "foundation/handles.h"

// The three services inside this process, on a TCP port: each procedure notes its inputs and gives fixed outputs.
namespace loopback {

struct server_t {
    server_t();
    ~server_t();
    std::uint32_t port = 0;
};

// Cancels the calling thread's remote call every four seconds: one that hangs ends with status 1726, and the client's rules
// repeat it.
class watchdog_t {
public:
    watchdog_t();

private:
    win::unique_handle caller_;
    std::jthread thread_;
};

// The last request: the procedure's name and its inputs, joined by "|".
std::string last_request();

// From here on every procedure answers ok = 0, with this message or (none given) with a null one; its outputs travel as ever.
void fail_with(std::optional<std::wstring> message);
void succeed();

// Lists and records are answered as null, or with a count and no list.
enum class records_t { whole, missing, counted_but_missing };
void set_records(records_t records);

// Blocks of the RPC allocator that are in use, the server's and the client's.
long live_blocks();

// Remote files that the service holds open.
long open_files();

// A GUID that shows its number: 000000NN-0001-0002-0304-05060708090a.
inline GUID guid(unsigned number) { return {number, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}; }

}  // namespace loopback
