#pragma once

#include <winsock2.h>

#include "foundation/unique_resource.h"

namespace win {

struct socket_traits {
    using handle = SOCKET;
    static handle invalid() noexcept { return INVALID_SOCKET; }
    static void close(handle h) noexcept { ::closesocket(h); }
};
using unique_socket = unique_resource<socket_traits>;

}  // namespace win
