#pragma once

#include <string_view>

// The program's operator new, the RPC allocator and COM's own, which count, fail and search on demand, for the calling thread
// alone: the services that a test runs in the same process are not touched.
namespace watched_memory {

// Blocks that this thread took less those that it gave back.
long live_blocks() noexcept;
long live_stub_blocks() noexcept;  // those of the RPC allocator

// Giving this block back to the RPC allocator raises a status, once.
void fail_free(const void* block) noexcept;

// The N-th allocation from now fails, once; 0 ends it. `failed` says whether it did.
void fail_allocation(long number) noexcept;
bool failed() noexcept;

// Blocks that this thread gives back from now on are searched for these bytes; how many held them. An empty text ends it.
void search_for(std::string_view bytes) noexcept;
long found() noexcept;

}  // namespace watched_memory
