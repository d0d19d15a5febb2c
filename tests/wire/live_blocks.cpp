#include "tests/wire/live_blocks.h"

#include <rpc.h>
#include <rpcndr.h>

#include <atomic>

namespace {
std::atomic<long> live = 0;
}

long wire::live_blocks() noexcept { return live; }

// In the place of the product's allocator (the same heap): counts.
extern "C" void* __RPC_USER MIDL_user_allocate(size_t size) {
    ++live;
    return ::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size);
}
extern "C" void __RPC_USER MIDL_user_free(void* block) {
    if (block)
        --live;
    ::HeapFree(::GetProcessHeap(), 0, block);
}
