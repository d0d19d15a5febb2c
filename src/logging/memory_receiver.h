#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/lock.h"
#include "logging/log.h"

namespace logging::receiver {

// Keeps what is written, for tests and for programs that show their own log.
class memory_receiver_t : public log_file_t {
public:
    void write(std::string_view lines) override {
        const std::lock_guard guard(lock_);
        text_ += lines;
    }
    std::string path() const override { return {}; }
    std::string_view eol() const override { return "\r\n"; }
    std::uint64_t size() override { return 0; }
    void compress_to(gz_archive_t&) override {}

    // All that was written, byte for byte.
    std::string text() const {
        const std::lock_guard guard(lock_);
        return text_;
    }

    void clear() {
        const std::lock_guard guard(lock_);
        text_.clear();
    }

private:
    mutable win::lock_t lock_;  // readers are not under the log's lock
    std::string text_;
};

}  // namespace logging::receiver

namespace logging {

// Takes the process's log, in the module layout, while it lives:
//
//   logging::captured_log_t log;
//   object.Connect();
//   EXPECT_THAT(log.texts(), ElementsAre("Connecting to 'host'.", "  Done.", "WARN|Again."));
class captured_log_t {
public:
    captured_log_t() : style_(default_log()->line_style()), previous_(default_log()->set_receiver(memory_)) {
        default_log()->set_line_style(module_layout);
    }
    ~captured_log_t() {
        default_log()->set_receiver(std::move(previous_));
        default_log()->set_line_style(style_);
    }
    captured_log_t(const captured_log_t&) = delete;
    captured_log_t& operator=(const captured_log_t&) = delete;

    // The lines without time stamp, thread and the blanks behind it: level tag, indentation, text.
    std::vector<std::string> texts() const {
        constexpr std::string_view head_end = ">      ";
        const std::string all = memory_->text();
        std::vector<std::string> lines;
        for (std::size_t start = 0; start < all.size();) {
            const std::size_t end = all.find("\r\n", start);
            const std::size_t head = all.find(head_end, start) + head_end.size();
            lines.push_back(all.substr(head, end - head));
            start = end + 2;
        }
        return lines;
    }

    bool holds(std::string_view part) const { return memory_->text().find(part) != std::string::npos; }
    void clear() { memory_->clear(); }

private:
    std::shared_ptr<receiver::memory_receiver_t> memory_ = std::make_shared<receiver::memory_receiver_t>();
    std::uint32_t style_;
    std::shared_ptr<receiver::log_file_t> previous_;
};

}  // namespace logging
