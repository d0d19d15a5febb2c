#pragma once

#include <optional>
#include <string_view>

namespace impl {

// Lets the client choose where the process's log goes: a file that several processes may share, in the console's line layout.
// The receiver in use before is let go. Nothing is written here; the first line comes with the next message.
class CProxyClientLogging {
public:
    // Throws exc::runtime_exc_t where there is no path. An empty one is taken as it is, and what is written then is dropped.
    void SetLogPath(std::optional<std::wstring_view> path);

    // Each write happens under the mutex of that name. Throws exc::runtime_exc_t where path or name is missing or empty.
    void SetLogSynchronized(std::optional<std::wstring_view> path, std::optional<std::wstring_view> mutex_name);
};

}  // namespace impl
