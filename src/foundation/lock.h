#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

// Locks for std::lock_guard. The standard library's mutexes keep memory of their own that this toolchain never frees.
namespace win {

class lock_t {
public:
    lock_t() noexcept = default;
    lock_t(const lock_t&) = delete;
    lock_t& operator=(const lock_t&) = delete;

    void lock() noexcept { ::AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ::ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

// A lock that the thread which owns it may take again; any other thread waits without limit.
class reentrant_lock_t {
public:
    // False only while the process ends: a thread that the system ended inside the lock will never give it back. unlock() then
    // does nothing, so that a std::lock_guard goes on without the lock, as the only thread that is left.
    bool lock() noexcept {
        const DWORD self = ::GetCurrentThreadId();
        if (owner_.load(std::memory_order_relaxed) != self) {
            if (!::TryAcquireSRWLockExclusive(&mutex_) && !wait())
                return false;
            owner_.exchange(self, std::memory_order_relaxed);
        }
        ++count_;
        return true;
    }

    void unlock() noexcept {
        if (owner_.load(std::memory_order_relaxed) != ::GetCurrentThreadId() || --count_ != 0)
            return;
        owner_.exchange(0, std::memory_order_relaxed);
        ::ReleaseSRWLockExclusive(&mutex_);
    }

private:
    bool wait() noexcept;

    std::atomic<DWORD> owner_{0};
    std::uint32_t count_ = 0;
    SRWLOCK mutex_ = SRWLOCK_INIT;
};

}  // namespace win
