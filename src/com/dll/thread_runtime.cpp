// What the module's runtime keeps for each thread: thread-local variables, its own list of the exceptions in flight among them.
// The thread library that is linked in would add two handles and some blocks for each thread that throws here, and give them
// back when that thread ends: never, where a host's thread outlives the module, load after load. So the module stands in for
// the two functions that lead there, and none of it comes to be.
#include <pthread.h>
#include <windows.h>
#include <winternl.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress(void);  // documented, but in no header of the cross toolchain

namespace {

// What the compiler says of a thread-local variable.
struct variable_t {
    std::size_t size, alignment;
    void* unused;
    const void* initial;  // null: zeros
};

// A thread's copy of it. The bytes stand behind.
struct alignas(MEMORY_ALLOCATION_ALIGNMENT) copy_t {
    copy_t* next;
    const void* variable;
};

constinit DWORD slot = FLS_OUT_OF_INDEXES;

void WINAPI free_copies(void* first) {
    for (auto* copy = static_cast<copy_t*>(first); copy;)
        ::HeapFree(::GetProcessHeap(), 0, std::exchange(copy, copy->next));
}

// Made before, and destroyed after, all other objects of the module.
struct thread_runtime_t {
    thread_runtime_t() noexcept { slot = ::FlsAlloc(free_copies); }
    ~thread_runtime_t() {
        if (!::RtlDllShutdownInProgress())
            ::FlsFree(slot);  // with the copies of all threads
    }
};

[[gnu::init_priority(101)]] const thread_runtime_t thread_runtime;

}  // namespace

extern "C" {

// In place of the compiler's support library's.
void* __emutls_get_address(void* variable) {
    const DWORD error = ::GetLastError();
    auto* const first = static_cast<copy_t*>(::FlsGetValue(slot));
    auto* copy = first;
    while (copy && copy->variable != variable)
        copy = copy->next;
    if (!copy) {
        const auto& of = *static_cast<const variable_t*>(variable);
        copy = static_cast<copy_t*>(::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof *copy + of.size));
        if (!copy || of.alignment > alignof(copy_t) || !::FlsSetValue(slot, copy))
            std::abort();
        copy->next = first;
        copy->variable = variable;
        if (of.initial)
            std::memcpy(copy + 1, of.initial, of.size);
    }
    ::SetLastError(error);
    return copy + 1;
}

// The linker's --wrap leads the module's calls of these here: they are made for the statics of functions and the locales.
int __wrap_pthread_once(pthread_once_t* once, void (*run)()) {
    constexpr long begun = 2, done = 1;
    while (const long state = ::InterlockedCompareExchange(once, begun, PTHREAD_ONCE_INIT)) {
        if (state == done)
            return 0;
        ::Sleep(1);
    }
    run();
    ::InterlockedExchange(once, done);
    return 0;
}

// Whoever waits looks again in any case.
int __wrap_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t* mutex) {
    ::pthread_mutex_unlock(mutex);
    ::Sleep(1);
    return ::pthread_mutex_lock(mutex);
}
}
