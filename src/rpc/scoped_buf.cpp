#include "rpc/scoped_buf.h"

#include <rpc.h>
#include <rpcndr.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "logging/write.h"
#include "rpc/remote_file.h"
#include "rpc/seh_guard.h"

namespace win::rpc {

void free_rpc_buffer(void* block) noexcept {
    const unsigned long status = ::korva_seh_guard([](void* b) { ::MIDL_user_free(b); }, block);
    if (status != 0)
        logging::info("A buffer of a remote reply cannot be freed. Status: [%1].", text::hex8(status));
}

// The stubs' allocator is the process heap (idl/midl_user.c). The runtime asks it for more than the data: it puts a node of its
// own, which begins with a signature, at the end of each block. Data is rounded up to 8 bytes in front of it.
std::size_t rpc_buffer_size(const void* block) noexcept {
    constexpr std::size_t node_size = 24;
    constexpr std::uint32_t node_signature = 'M' << 24 | 'E' << 16 | 'M' << 8 | 'L';
    if (!block)
        return 0;
    const SIZE_T size = ::HeapSize(::GetProcessHeap(), 0, block);
    if (size == static_cast<SIZE_T>(-1))
        return 0;
    std::uint32_t signature = 0;
    if (size >= node_size)
        std::memcpy(&signature, static_cast<const char*>(block) + size - node_size, sizeof signature);
    return signature == node_signature ? size - node_size : size;
}

std::wstring text_of(const wchar_t* rpc_string) {
    if (!rpc_string)
        return {};
    return std::wstring(rpc_string, ::wcsnlen(rpc_string, rpc_buffer_size(rpc_string) / sizeof(wchar_t)));
}

void remote_file_traits::close(handle h) noexcept {
    // A handle that the runtime no longer knows raises a status; then there is nothing to give up.
    ::korva_seh_guard([](void* place) { ::RpcSsDestroyClientContext(static_cast<void**>(place)); }, &h);
}

}  // namespace win::rpc
