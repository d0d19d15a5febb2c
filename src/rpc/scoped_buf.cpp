#include "rpc/scoped_buf.h"

#include <rpc.h>
#include <rpcndr.h>
#include <windows.h>

#include <cwchar>

#include "logging/write.h"
#include "rpc/remote_file.h"
#include "rpc/seh_guard.h"

namespace win::rpc {

void free_rpc_buffer(void* block) noexcept {
    const unsigned long status = ::korva_seh_guard([](void* b) { ::MIDL_user_free(b); }, block);
    if (status != 0)
        logging::warning("A buffer of a remote reply cannot be freed. Status: [%1].", text::hex8(status));
}

// The stubs' allocator is the process heap (idl/midl_user.c).
std::size_t rpc_buffer_size(const void* block) noexcept {
    if (!block)
        return 0;
    const SIZE_T size = ::HeapSize(::GetProcessHeap(), 0, block);
    return size == static_cast<SIZE_T>(-1) ? 0 : size;
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
