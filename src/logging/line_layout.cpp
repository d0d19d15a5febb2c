#include "logging/line_layout.h"

#include <charconv>
#include <cstdio>

namespace logging::format {
namespace {

std::string_view word_tag(std::uint32_t level) {
    switch (level) {
        case level_debug:
        case level_info:
            return "Info     ";
        case level_warning:
            return "Warning  ";
        case level_error:
            return "Error    ";
        default:
            return {};
    }
}

std::string_view short_tag(std::uint32_t level, bool first) {
    if (level != level_warning && level != level_error)
        return {};
    if (!first)
        return ">>  |";
    return level == level_warning ? "WARN|" : "ERR |";
}

// Looks at all of the text, so that the compiler compares 16 bytes at once; a search goes byte by byte in some C runtimes, and
// most messages are one line.
bool has_several_lines(std::string_view message) {
    unsigned char found = 0;
    for (const char c : message)
        found |= c == '\n' ? 1 : 0;
    return found != 0;
}

void append_thread(std::string& buffer, DWORD id, std::size_t width) {
    char digits[12];
    const auto length = static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, id).ptr - digits);
    buffer += '<';
    if (length < width)
        buffer.append(width - length, ' ');
    buffer.append(digits, length);
    buffer += "> ";
}

}  // namespace

std::string stamp_text(const SYSTEMTIME* local_time) {
    if (!local_time)
        return "TIME ---";
    const SYSTEMTIME& time = *local_time;
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "[%02u.%02u.%04u %02u:%02u:%02u] ", time.wDay, time.wMonth, time.wYear, time.wHour,
                  time.wMinute, time.wSecond);
    return buffer;
}

void append_lines(std::string& buffer, const line_head_t& head, std::string_view message, std::string_view eol) {
    const bool several = has_several_lines(message);
    bool first = true;
    do {
        const std::size_t end = several ? message.find('\n') : std::string_view::npos;
        buffer += head.stamp;
        if (head.style == console_layout) {
            append_thread(buffer, head.thread_id % 100, 2);
            buffer += word_tag(head.level);
        } else {
            append_thread(buffer, head.thread_id, 6);
            buffer += head.format_text;
            buffer += short_tag(head.level, first);
        }
        buffer.append(std::size_t{2} * head.indentation, ' ');
        buffer += message.substr(0, end);
        buffer += eol;
        message.remove_prefix(end == std::string_view::npos ? message.size() : end + 1);
        first = false;
    } while (!message.empty());
}

std::string_view time_stamp_t::now() {
    if (const ULONGLONG tick = ::GetTickCount64(); tick != tick_) {
        tick_ = tick;
        FILETIME moment;
        ::GetSystemTimeAsFileTime(&moment);
        of(moment);
    }
    return text_;
}

std::string_view time_stamp_t::of(const FILETIME& moment) {
    const std::uint64_t second = ((std::uint64_t{moment.dwHighDateTime} << 32) | moment.dwLowDateTime) / 10'000'000;
    if (second != second_) {
        SYSTEMTIME utc;
        SYSTEMTIME local;
        const bool known = ::FileTimeToSystemTime(&moment, &utc) && ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
        text_ = stamp_text(known ? &local : nullptr);
        second_ = second;
    }
    return text_;
}

}  // namespace logging::format
