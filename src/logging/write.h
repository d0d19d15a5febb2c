#pragma once

#include <exception>
#include <span>
#include <string_view>

#include "foundation/fire_com_exc.h"
#include "foundation/format.h"
#include "logging/log.h"

// What all code calls to write to the process's log. Templates are those of text::format:
//
//   logging::info("Connecting to RPC port '%1', host '%2'.", port, host);
//
// None of these throws, and none disturbs the thread's last error; a message that cannot be made is lost.
namespace logging {

namespace detail {

void write(std::uint32_t level, std::string_view message) noexcept;
void write_list(std::uint32_t level, std::string_view message, std::span<const text::arg_t> args) noexcept;
void write_error(std::string_view message, std::span<const text::arg_t> args, const std::exception& error) noexcept;

// Makes the arguments' texts, which may fail, and hands them to `sink`.
template <class Sink, class... Args>
void with_args(const Sink& sink, const Args&... args) noexcept {
    const DWORD last_error = ::GetLastError();
    try {
        if constexpr (sizeof...(args) == 0) {
            sink(std::span<const text::arg_t>());
        } else {
            const text::arg_t list[] = {text::arg_t(args)...};
            sink(std::span<const text::arg_t>(list));
        }
    } catch (...) {
    }
    ::SetLastError(last_error);
}

template <class... Args>
void format_and_write(std::uint32_t level, std::string_view message, const Args&... args) noexcept {
    if constexpr (sizeof...(args) == 0)
        write(level, message);
    else
        with_args([&](std::span<const text::arg_t> list) { write_list(level, message, list); }, args...);
}

}  // namespace detail

// Level 1.
template <class... Args>
void debug(std::string_view message, const Args&... args) noexcept {
    detail::format_and_write(level_debug, message, args...);
}

// Level 2, which nearly every line has.
template <class... Args>
void info(std::string_view message, const Args&... args) noexcept {
    detail::format_and_write(level_info, message, args...);
}

// Level 3.
template <class... Args>
void warning(std::string_view message, const Args&... args) noexcept {
    detail::format_and_write(level_warning, message, args...);
}

// Level 4.
template <class... Args>
void error(std::string_view message, const Args&... args) noexcept {
    detail::format_and_write(level_error, message, args...);
}

// Level 4, one message: the text, and the exception's lines beneath it.
template <class... Args>
void error_with(const std::exception& error, std::string_view message, const Args&... args) noexcept {
    detail::with_args([&](std::span<const text::arg_t> list) { detail::write_error(message, list, error); }, args...);
}

// Level 4: the exception's text, or what stands for it where it has none.
void log_exception(const std::exception& error) noexcept;

// Writes the line (level 2) and indents what follows while the result lives; nothing is written at its end:
//
//   const auto scope = logging::scoped("Connecting to '%1'.", host);
template <class... Args>
[[nodiscard]] log_scope scoped(std::string_view message, const Args&... args) noexcept {
    info(message, args...);
    return log_scope();
}

}  // namespace logging
