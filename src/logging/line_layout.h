#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace logging {

// The levels in use. Any other value is written without a tag.
enum level_t : std::uint32_t { level_debug = 1, level_info = 2, level_warning = 3, level_error = 4 };

// The two line layouts: the one of the log file that the module opens itself, and the one of the console's shared files.
enum line_style_t : std::uint32_t { module_layout = 0, console_layout = 1 };

namespace format {

// The text that the module layout puts between the thread and the level tag; each writing front end holds one.
class line_format_t {
public:
    explicit line_format_t(std::string text = "     ") : text_(std::move(text)) {}
    std::string_view text() const noexcept { return text_; }

private:
    std::string text_;
};

// "[DD.MM.YYYY HH:MM:SS] ", or "TIME ---" (no blank behind it) for a null pointer.
std::string stamp_text(const SYSTEMTIME* local_time);

// All that the lines of one message have in common.
struct line_head_t {
    std::uint32_t style = module_layout;
    std::uint32_t level = level_info;
    std::string_view stamp;
    DWORD thread_id = 0;
    std::string_view format_text;
    std::uint32_t indentation = 0;  // steps of two blanks
};

// Appends the message line by line: cut at every "\n", which is dropped; a "\n" at its end makes no further line; an empty
// message is one empty line.
void append_lines(std::string& buffer, const line_head_t& head, std::string_view message, std::string_view eol);

// The stamp of a moment, made anew only when the second changes: most of a short line's cost would be the calendar.
// Not thread-safe.
class time_stamp_t {
public:
    // Looks at the clock when the tick count has moved (some 16 ms): the system moves both together, and the count is read
    // without a call of the system everywhere.
    std::string_view now();

    std::string_view of(const FILETIME& moment);

private:
    ULONGLONG tick_ = ~0ull;
    std::uint64_t second_ = 0;
    std::string text_;
};

}  // namespace format
}  // namespace logging
