#pragma once

#include <windows.h>

#include <string>

#include "foundation/handles.h"

namespace win {

// Owns a named mutex of the machine while something is being done under it. The mutex exists as long as somebody holds or
// waits for it; every account may wait for it and release it.
class CMutexHolder {
public:
    CMutexHolder() = default;
    ~CMutexHolder() { release(); }
    CMutexHolder(const CMutexHolder&) = delete;
    CMutexHolder& operator=(const CMutexHolder&) = delete;

    // Waits at most wait_ms for the mutex of this name (text of the code page). Throws exc::win_sys_exc_t; also where a
    // process ended inside the mutex, because what it left half written is not known. Only the thread that acquired releases.
    void acquire(const std::string& name, DWORD wait_ms);
    void release() noexcept;

    // Holds the mutex for one scope.
    class owner_t {
    public:
        owner_t(CMutexHolder& holder, const std::string& name, DWORD wait_ms) : holder_(holder) {
            holder_.acquire(name, wait_ms);
        }
        ~owner_t() { holder_.release(); }
        owner_t(const owner_t&) = delete;
        owner_t& operator=(const owner_t&) = delete;

    private:
        CMutexHolder& holder_;
    };

private:
    unique_handle mutex_;
};

}  // namespace win
