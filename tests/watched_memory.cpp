#include "tests/watched_memory.h"

#include <windows.h>

#include <objidl.h>
#include <rpc.h>
#include <rpcndr.h>

#include <malloc.h>

#include <cstdlib>
#include <new>
#include <utility>

extern "C" void WINAPI SetOaNoCache();  // documented, but in no header of the cross toolchain

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
    if (!searched.empty() && std::string_view(static_cast<const char*>(block), size).find(searched) != std::string_view::npos)
        ++sightings;
}

// COM's own allocator, from which texts and arrays come. What those hold is their caller's affair: nothing is looked at, and
// nothing of it is left for a block of ours.
class com_memory_t final : public IMallocSpy {
public:
    com_memory_t() {
        ::SetOaNoCache();  // which would keep texts that were given back
        ::CoRegisterMallocSpy(this);
    }
    ~com_memory_t() { ::CoRevokeMallocSpy(); }

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return fails() ? 0 : size; }
    STDMETHODIMP_(void*) PostAlloc(void* block) override {
        live += block != nullptr;
        return block;
    }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL counted) override {
        if (block && counted) {
            --live;
            ::SecureZeroMemory(block, ::HeapSize(::GetProcessHeap(), 0, block));
        }
        return block;
    }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** same, BOOL) override {
        *same = block;
        return size;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}
} com_memory;

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
    if (block) {
        look_at(block, ::_msize(block));
        --live;
    }
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
        --live;
        --live_stub;
    }
    ::__real_MIDL_user_free(block);
}
