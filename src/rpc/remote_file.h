#pragma once

#include "foundation/unique_resource.h"

namespace win::rpc {

// The client's side of a file that a service holds open (an RPC context handle). Closing it here only gives the local side up,
// without a word to the service; CFcCloseFileMethod closes the file itself.
struct remote_file_traits {
    using handle = void*;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept;
};
using unique_remote_file = unique_resource<remote_file_traits>;

}  // namespace win::rpc
