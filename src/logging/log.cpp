#include "logging/log.h"

#include "logging/rotation.h"
#include "logging/write.h"

namespace logging {
namespace {

constexpr std::int32_t messages_per_size_check = 1000;

// What one very long message needed is not kept for all that follow.
constexpr std::size_t largest_kept_buffer = 64 * 1024;

class last_error_keeper {
public:
    ~last_error_keeper() { ::SetLastError(error_); }

private:
    DWORD error_ = ::GetLastError();
};

std::atomic<bool> process_log_gone = false;

struct process_log_t {
    std::shared_ptr<log_t> log = std::make_shared<log_t>();
    std::shared_ptr<format::line_format_t> line_format = std::make_shared<format::line_format_t>();

    ~process_log_t() { process_log_gone = true; }
};

process_log_t& process_log() {
    static process_log_t instance;
    return instance;
}

// Null where the process ends, or where its log cannot be made for want of memory: the next call tries again.
log_t* usable_log() noexcept try { return process_log_gone ? nullptr : process_log().log.get(); } catch (...) {
    return nullptr;
}

}  // namespace

log_t::log_t() noexcept : log_t([](receiver::log_file_t& receiver) { rotate_when_full(receiver); }) {}

log_t::log_t(std::function<void(receiver::log_file_t&)> size_check) noexcept
    : size_check_(std::move(size_check)), indentation_slot_(::TlsAlloc()) {}

log_t::~log_t() {
    if (indentation_slot_ != TLS_OUT_OF_INDEXES)
        ::TlsFree(indentation_slot_);
}

std::shared_ptr<receiver::log_file_t> log_t::set_receiver(std::shared_ptr<receiver::log_file_t> receiver) noexcept {
    if (lock_.lock()) {
        receiver_.swap(receiver);
        lock_.unlock();
    }
    return receiver;
}

void log_t::write(std::uint32_t level, std::uint32_t indentation, const std::shared_ptr<format::line_format_t>& line_format,
                  std::string_view message) noexcept {
    const last_error_keeper keeper;
    if (!lock_.lock())
        return;
    try {
        if (receiver_ && !suppressed_.load(std::memory_order_relaxed)) {
            const std::string_view format_text = line_format ? line_format->text() : std::string_view();
            write_locked({line_style(), level, stamp_.now(), ::GetCurrentThreadId(), format_text, indentation}, message);
        }
    } catch (...) {
        // The message is lost; who writes a log line has no use for its failure.
    }
    lock_.unlock();
}

void log_t::write_locked(const format::line_head_t& head, std::string_view message) {
    // A receiver may itself write to the log, or replace itself: both work on locals.
    const std::shared_ptr<receiver::log_file_t> receiver = receiver_;
    std::string buffer = std::move(buffer_);
    buffer.clear();
    format::append_lines(buffer, head, message, receiver->eol());
    receiver->write(buffer);
    if (buffer.capacity() <= largest_kept_buffer)
        buffer_ = std::move(buffer);
    if (size_control_.load(std::memory_order_relaxed) && ++messages_ >= messages_per_size_check) {
        messages_ = 0;
        check_size();
    }
}

void log_t::check_size() {
    if (!lock_.lock())
        return;
    try {
        if (receiver_)
            size_check_(*receiver_);
    } catch (...) {
        // Tried again after the next 1000 messages.
    }
    lock_.unlock();
}

std::uint32_t log_t::indentation() const noexcept {
    if (indentation_slot_ == TLS_OUT_OF_INDEXES)
        return 0;
    const last_error_keeper keeper;  // TlsGetValue clears the last error
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(::TlsGetValue(indentation_slot_)));
}

void log_t::raise_indentation() noexcept {
    if (indentation_slot_ != TLS_OUT_OF_INDEXES)
        ::TlsSetValue(indentation_slot_, reinterpret_cast<void*>(std::uintptr_t{indentation()} + 1));
}

void log_t::lower_indentation() noexcept {
    const std::uint32_t depth = indentation();
    if (depth > 0)
        ::TlsSetValue(indentation_slot_, reinterpret_cast<void*>(std::uintptr_t{depth} - 1));
}

const std::shared_ptr<log_t>& default_log() { return process_log().log; }

log_scope::log_scope() noexcept : log_(usable_log()) {
    if (log_)
        log_->raise_indentation();
}

log_scope::~log_scope() {
    if (log_ && !process_log_gone)
        log_->lower_indentation();
}

namespace detail {

void write(std::uint32_t level, std::string_view message) noexcept {
    if (log_t* const log = usable_log())
        log->write(level, log->indentation(), process_log().line_format, message);
}

void write_list(std::uint32_t level, std::string_view message, std::span<const text::arg_t> args) noexcept try {
    write(level, text::format_list(message, args));
} catch (...) {
}

void write_error(std::string_view message, std::span<const text::arg_t> args, const std::exception& error) noexcept try {
    write(level_error, text::format_list(message, args) + "\n" + exc::message_of(error));
} catch (...) {
}

}  // namespace detail

void log_exception(const std::exception& error) noexcept try {
    detail::write(level_error, exc::message_of(error));
} catch (...) {
}

}  // namespace logging
