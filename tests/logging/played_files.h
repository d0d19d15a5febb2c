#pragma once

#include <zlib.h>

#include <cerrno>
#include <functional>
#include <map>
#include <string>

#include "logging/file_functions.h"

// The real functions of a log file that rotates. Each call is told before it is made, by its name and which of that name it is
// since begin(), and fails where `fails` says so. What is made from the table must not outlive this.
class played_files_t {
public:
    std::function<bool(const std::string& name, int nth)> fails;
    logging::file_functions_t functions;

    explicit played_files_t(decltype(fails) when) : fails(std::move(when)) {
        play(functions.size, "size");
        play(functions.remove, "remove");
        play(functions.rename, "rename");
        play(functions.seek, "seek");
        play(functions.read, "read");
        play(functions.cut, "cut");
        play(functions.gz_open, "gz_open");
        play(functions.gz_write, "gz_write");
        play(functions.gz_finish, "gz_finish");
        play(functions.gz_close, "gz_close");
    }
    played_files_t(const played_files_t&) = delete;

    void begin() { counts_.clear(); }

private:
    template <class Result, class... Args>
    void play(std::function<Result(Args...)>& function, const std::string& name) {
        function = [this, name, real = function](Args... args) -> Result {
            if (!fails(name, ++counts_[name]))
                return real(args...);
            if (name == "gz_close")
                real(args...);  // a failed close closes
            errno = EACCES;
            ::SetLastError(ERROR_ACCESS_DENIED);
            if constexpr (std::is_same_v<Result, int>)
                return Z_ERRNO;
            return {};
        };
    }

    std::map<std::string, int> counts_;
};
