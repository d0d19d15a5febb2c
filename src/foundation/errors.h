#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/format.h"

// The library's failures. All kinds derive directly from exc_base_t; narrow text is UTF-8.
namespace exc {

// A list of message lines; what() is the lines joined by "\n" and always current.
class exc_base_t : public std::exception {
public:
    explicit exc_base_t(std::string_view message);

    const char* what() const noexcept override { return text_.c_str(); }
    const std::vector<std::string>& lines() const noexcept { return lines_; }
    void add_line(std::string_view line);

    // Named values that a catcher may want beside the text; empty unless a thrower adds some, never part of what().
    std::map<std::string, std::string>& details() noexcept { return details_; }

protected:
    exc_base_t() = default;

private:
    std::vector<std::string> lines_;
    std::string text_;
    std::string assembly_;  // what() is built here and swapped in, so that a failed add_line changes nothing
    std::map<std::string, std::string> details_;
};

// A failure with a text of its own; also what wraps another error (see nesting.h).
class runtime_exc_t : public exc_base_t {
public:
    explicit runtime_exc_t(std::string_view message) : exc_base_t(message) {}
    std::uint32_t code() const noexcept { return 0; }
};

// A failed platform call: the system text of the code, then the message. The code is a Win32 error, an RPC status or, where
// a creator says so, an HRESULT.
class win_sys_exc_t : public exc_base_t {
public:
    win_sys_exc_t(std::string_view message, std::uint32_t code);
    std::uint32_t code() const noexcept { return code_; }

private:
    std::uint32_t code_;
};

// A remote call that ended with an RPC status: one line, its system text.
class rpc_exc_t : public exc_base_t {
public:
    explicit rpc_exc_t(std::uint32_t status);
    std::uint32_t code() const noexcept { return code_; }

private:
    std::uint32_t code_;
};

// A failed COM call. The first line is the description of the thread's current error object (which is thereby taken) followed
// by " Error code: " and the HRESULT; then the message.
class com_exc_t : public exc_base_t {
public:
    com_exc_t(HRESULT result, std::string_view message);
    HRESULT code() const noexcept { return code_; }

private:
    HRESULT code_;
};

// A failed native call: "NT status code: " and the status, the system text of the status as a Win32 code, then a message
// where one is given.
class CNtStatusExc : public exc_base_t {
public:
    explicit CNtStatusExc(std::uint32_t status, std::string_view message = {});
    std::uint32_t code() const noexcept { return code_; }

private:
    std::uint32_t code_;
};

// A file that another process holds locked.
class file_locked_exc_t : public exc_base_t {
public:
    explicit file_locked_exc_t(std::string_view message) : exc_base_t(message) {}
};

// Throws win_sys_exc_t with the thread's last error, which is read before the message is made (see text::format).
template <class... Args>
[[noreturn]] void throw_last_error(std::string_view message, const Args&... args) {
    const DWORD code = ::GetLastError();
    throw win_sys_exc_t(text::format(message, args...), code);
}

}  // namespace exc

namespace impl {

// Used inside implementation objects.
class rt_exception : public std::exception {
public:
    explicit rt_exception(std::string text) : text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

}  // namespace impl
