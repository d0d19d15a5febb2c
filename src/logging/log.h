#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/lock.h"
#include "logging/line_layout.h"
#include "logging/log_file.h"

// How a message reaches the log file: write.h has the functions that all code calls.
namespace logging {

// Turns each message into lines and hands them to one receiver. Nothing here fails towards who writes.
class log_t {
public:
    log_t() noexcept;
    // With another way to look at a receiver's size and rotate it (the default is rotate_when_full).
    explicit log_t(std::function<void(receiver::log_file_t&)> size_check) noexcept;
    ~log_t();
    log_t(const log_t&) = delete;
    log_t& operator=(const log_t&) = delete;

    // Puts another receiver in the place of the present one, which is returned. Without one, messages are dropped.
    std::shared_ptr<receiver::log_file_t> set_receiver(std::shared_ptr<receiver::log_file_t> receiver) noexcept;

    // Takes effect with the next message.
    void set_line_style(std::uint32_t style) noexcept { line_style_.store(style, std::memory_order_relaxed); }
    std::uint32_t line_style() const noexcept { return line_style_.load(std::memory_order_relaxed); }

    // While set, every message is dropped.
    void set_suppressed(bool suppressed) noexcept { suppressed_.store(suppressed, std::memory_order_relaxed); }

    // While on, the receiver's size is looked at once per 1000 messages.
    void set_size_control(bool on) noexcept { size_control_.store(on, std::memory_order_relaxed); }

    // Writes one message; its lines are never separated by another thread's. The thread's last error stays as it was.
    void write(std::uint32_t level, std::uint32_t indentation, const std::shared_ptr<format::line_format_t>& line_format,
               std::string_view message) noexcept;

    // The calling thread's indentation, in steps. Lowering never goes below 0.
    std::uint32_t indentation() const noexcept;
    void raise_indentation() noexcept;
    void lower_indentation() noexcept;

private:
    void write_locked(const format::line_head_t& head, std::string_view message);
    void check_size();

    win::reentrant_lock_t lock_;
    std::shared_ptr<receiver::log_file_t> receiver_;
    std::atomic<std::uint32_t> line_style_{module_layout};
    std::atomic<bool> suppressed_{false};
    std::atomic<bool> size_control_{false};
    std::int32_t messages_ = 0;  // since the last look at the size
    std::function<void(receiver::log_file_t&)> size_check_;
    format::time_stamp_t stamp_;
    std::string buffer_;
    DWORD indentation_slot_;  // the counter itself stands in the slot, so that a thread's end has nothing to free
};

// The process's log. Made by the first call, ended with the process (or when the module is unloaded).
const std::shared_ptr<log_t>& default_log();

// Indents what the thread writes by one more step while it lives.
class log_scope {
public:
    log_scope() noexcept;
    explicit log_scope(log_t& log) noexcept : log_(&log) { log.raise_indentation(); }
    ~log_scope();
    log_scope(const log_scope&) = delete;
    log_scope& operator=(const log_scope&) = delete;

private:
    log_t* log_;  // null where the process's log is gone (the process ends) or could not be made
};

}  // namespace logging
