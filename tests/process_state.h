#pragma once

#include <windows.h>

#include <psapi.h>

#include <cstdint>
#include <stdexcept>

// What this process holds.
namespace process_state {

inline PROCESS_MEMORY_COUNTERS memory() {
    PROCESS_MEMORY_COUNTERS counters{};
    if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters))
        throw std::runtime_error("the system does not tell the process's memory");
    return counters;
}

inline std::size_t private_bytes() { return memory().PagefileUsage; }

// The open handles, each of them asked: Wine answers 0 to GetProcessHandleCount.
inline unsigned open_handles() {
    constexpr std::uintptr_t step = 4, end = 0x10000;
    unsigned count = 0;
    for (std::uintptr_t value = step; value < end; value += step) {
        DWORD flags = 0;
        count += ::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
    }
    return count;
}

}  // namespace process_state
