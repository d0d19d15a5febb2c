#pragma once

#include <windows.h>

#include <functional>
#include <utility>
#include <vector>

#include "bench/harness.h"

namespace bench {

// Processor seconds of this process so far, in user and kernel mode.
inline double processor_seconds() {
    FILETIME created, ended, kernel, user;
    ::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) * 1e-7;
    };
    return seconds(kernel) + seconds(user);
}

// The processor seconds of one contender, run by run.
class processor_times {
public:
    // `run`, which is then counted; this must outlive it.
    std::function<void()> around(std::function<void()> run) {
        return [this, run = std::move(run)] {
            const double before = processor_seconds();
            run();
            seconds_.push_back(processor_seconds() - before);
        };
    }
    // Without the first run, in which connections and memory are made.
    double median() const { return bench::median({seconds_.begin() + 1, seconds_.end()}); }

private:
    std::vector<double> seconds_;
};

}  // namespace bench
