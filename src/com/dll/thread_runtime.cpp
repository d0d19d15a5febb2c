// The thread library that is linked in never gives back what it makes once for each module: a slot of thread-local storage and
// the semaphores of its lock of keys; nor, when the module goes, the handles that it keeps of the thread. A host that loads and
// unloads the module for days would run out of slots, and the library then ends the process.
#include <pthread.h>
#include <windows.h>
#include <winternl.h>

#include <array>
#include <cstddef>

extern "C" {
BOOLEAN NTAPI RtlDllShutdownInProgress(void);  // documented, but in no header of the cross toolchain

// The library's own callback for the end of a thread.
extern PIMAGE_TLS_CALLBACK __xl_f;

// The linker's --wrap leads the module's calls of these two functions here.
using tls_alloc_t = DWORD(WINAPI*)();
using create_semaphore_t = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, LONG, LONG, const char*);
extern const tls_alloc_t __real___imp_TlsAlloc;
extern const create_semaphore_t __real___imp_CreateSemaphoreA;
}

namespace {

template <class T>
class few {
public:
    void add(T value) noexcept {
        if (count_ < values_.size())
            values_[count_++] = value;
    }
    template <class Close>
    void close_all(Close close) noexcept {
        while (count_ > 0)
            close(values_[--count_]);
    }

private:
    std::array<T, 8> values_{};
    std::size_t count_ = 0;
};

constinit few<DWORD> slots;
constinit few<HANDLE> semaphores;
constinit bool noting = false;

DWORD WINAPI noted_tls_alloc() {
    const DWORD slot = __real___imp_TlsAlloc();
    if (noting && slot != TLS_OUT_OF_INDEXES)
        slots.add(slot);
    return slot;
}

HANDLE WINAPI noted_create_semaphore(SECURITY_ATTRIBUTES* security, LONG initial, LONG most, const char* name) {
    const HANDLE semaphore = __real___imp_CreateSemaphoreA(security, initial, most, name);
    if (noting && semaphore)
        semaphores.add(semaphore);
    return semaphore;
}

// Made before, and destroyed after, all other objects of the module.
struct thread_runtime_t {
    thread_runtime_t() noexcept {
        noting = true;
        pthread_key_t key;
        if (::pthread_key_create(&key, nullptr) == 0)
            ::pthread_key_delete(key);
        ::pthread_self();
        noting = false;
    }
    ~thread_runtime_t() {
        if (::RtlDllShutdownInProgress())
            return;
        __xl_f(nullptr, DLL_THREAD_DETACH, nullptr);
        semaphores.close_all(::CloseHandle);
        slots.close_all(::TlsFree);
    }
};

[[gnu::init_priority(101)]] const thread_runtime_t thread_runtime;

}  // namespace

extern "C" {
extern const tls_alloc_t __wrap___imp_TlsAlloc;
extern const create_semaphore_t __wrap___imp_CreateSemaphoreA;
constinit const tls_alloc_t __wrap___imp_TlsAlloc = noted_tls_alloc;
constinit const create_semaphore_t __wrap___imp_CreateSemaphoreA = noted_create_semaphore;
}
