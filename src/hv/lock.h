#pragma once

#include <windows.h>

namespace hv {

// For std::lock_guard. The standard library's mutex keeps memory of its own that this toolchain never frees.
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

}  // namespace hv
