#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

namespace win {

// A fixed waiting loop: how often to look and how long to wait between two looks. Tests replace `wait`, never the count.
struct poll_policy_t {
    std::uint32_t attempts;
    std::uint32_t interval_ms;
    std::function<void(std::uint32_t milliseconds)> wait = [](std::uint32_t milliseconds) { ::Sleep(milliseconds); };
};

}  // namespace win
