#include "tests/watched_memory.h"

#include <windows.h>

#include <rpc.h>
#include <rpcndr.h>

#include <malloc.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local long live = 0, live_stub = 0;
thread_local const void* stuck = nullptr;
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
long watched_memory::live_stub_blocks() noexcept { return live_stub; }
void watched_memory::fail_free(const void* block) noexcept { stuck = block; }

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

// Linked around the product's allocator (--wrap).
extern "C" void* __RPC_USER __real_MIDL_user_allocate(std::size_t size);
extern "C" void __RPC_USER __real_MIDL_user_free(void* block);

extern "C" void* __RPC_USER __wrap_MIDL_user_allocate(std::size_t size) {
    void* const block = fails() ? nullptr : ::__real_MIDL_user_allocate(size);
    live += block != nullptr;
    live_stub += block != nullptr;
    return block;
}
extern "C" void __RPC_USER __wrap_MIDL_user_free(void* block) {
    if (block && std::exchange(stuck, stuck == block ? nullptr : stuck) == block)
        ::RaiseException(RPC_S_INTERNAL_ERROR, 0, 0, nullptr);
    if (block) {
        look_at(block, ::HeapSize(::GetProcessHeap(), 0, block));
        --live_stub;
    }
    ::__real_MIDL_user_free(block);
}
