#include "foundation/lock.h"

#include <winternl.h>

extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress(void);  // documented, but in no header of the cross toolchain

namespace win {
namespace {

// How often a thread looks whether the lock is free before it sleeps: some fifty log messages' time.
constexpr int attempts_before_sleep = 1000;
constexpr int attempts_before_yield = 20;

}  // namespace

bool reentrant_lock_t::wait() noexcept {
    if (::RtlDllShutdownInProgress())
        return false;
    // A log message is written in less time than a sleep and a waking take, and a thread that sleeps here makes every release a
    // call of the system: four threads write half as much without this.
    for (int attempt = 1; attempt <= attempts_before_sleep; ++attempt) {
        if (::TryAcquireSRWLockExclusive(&mutex_))
            return true;
        if (attempt % attempts_before_yield == 0)
            ::SwitchToThread();
        else
            ::YieldProcessor();
    }
    ::AcquireSRWLockExclusive(&mutex_);
    return true;
}

}  // namespace win
