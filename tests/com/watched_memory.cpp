#include "tests/com/watched_memory.h"

#include <windows.h>

#include <rpc.h>
#include <rpcndr.h>

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

thread_local long live = 0;
thread_local long until_failure = 0;
thread_local bool has_failed = false;
thread_local std::string_view searched;
thread_local long sightings = 0;

bool fails() noexcept {
    if (until_failure == 0 || --until_failure != 0)
        return false;
    return has_failed = true;
}

void look_at(const void* block, std::size_t size) noexcept {
    --live;
    if (!searched.empty() && std::string_view(static_cast<const char*>(block), size).find(searched) != std::string_view::npos)
        ++sightings;
}

}  // namespace

long watched_memory::live_blocks() noexcept { return live; }

void watched_memory::fail_allocation(long number) noexcept {
    until_failure = number;
    if (number != 0)
        has_failed = false;
}
bool watched_memory::failed() noexcept { return has_failed; }

void watched_memory::search_for(std::string_view bytes) noexcept {
    searched = bytes;
    if (!bytes.empty())
        sightings = 0;
}
long watched_memory::found() noexcept { return sightings; }

void* operator new(std::size_t size) {
    void* const block = fails() ? nullptr : std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++live;
    return block;
}

void operator delete(void* block) noexcept {
    if (block)
        look_at(block, ::_msize(block));
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

// In the place of the product's allocator (the same heap).
extern "C" void* __RPC_USER MIDL_user_allocate(std::size_t size) {
    void* const block = fails() ? nullptr : ::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size);
    live += block != nullptr;
    return block;
}
extern "C" void __RPC_USER MIDL_user_free(void* block) {
    if (block)
        look_at(block, ::HeapSize(::GetProcessHeap(), 0, block));
    ::HeapFree(::GetProcessHeap(), 0, block);
}
