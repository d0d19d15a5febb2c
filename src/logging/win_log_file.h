#pragma once

#include <cstdint>
#include <string>

#include "foundation/handles.h"
#include "logging/file_functions.h"
#include "logging/log_file.h"

namespace win {

// The receiver of the process's own log: keeps its file open, alone in writing it, and can move it into an archive.
class win_log_file_t : public logging::receiver::log_file_t {
public:
    // Opens or makes the file and goes on behind what it holds. Throws exc::file_locked_exc_t where another process has it
    // open, exc::win_sys_exc_t for every other reason.
    explicit win_log_file_t(std::string path, logging::file_functions_t files = {});

    // Flush the file's buffers after every write; off at first.
    void set_flush(bool flush) noexcept { flush_ = flush; }

    // A text that cannot be written whole leaves nothing behind.
    void write(std::string_view lines) override;
    std::string path() const override { return path_; }
    std::string_view eol() const override { return "\r\n"; }
    std::uint64_t size() override;

    // Empties the file only when the archive holds all of it for good.
    void compress_to(logging::gz_archive_t& archive) override;

private:
    void copy_to(logging::gz_archive_t& archive);

    std::string path_;
    logging::file_functions_t files_;
    unique_file file_;
    std::uint64_t end_ = 0;  // where the next text goes, kept here: the handle's position is lost by a failure and by reading
    bool at_end_ = false;    // whether the handle's position is end_
    bool flush_ = false;
};

}  // namespace win
