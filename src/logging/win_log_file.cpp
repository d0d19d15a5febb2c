#include "logging/win_log_file.h"

#include <memory>
#include <utility>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/gz_archive.h"

namespace win {
namespace {

constexpr DWORD read_block = 1'048'576;

}  // namespace

win_log_file_t::win_log_file_t(std::string path, logging::file_functions_t files)
    : path_(std::move(path)), files_(std::move(files)), file_(files_.open(text::widen(path_))) {
    if (file_ && files_.size(file_.get(), end_))
        return;
    const DWORD code = ::GetLastError();
    if (code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION)
        throw exc::file_locked_exc_t(text::format("File [%1] is locked.", path_));
    throw exc::win_sys_exc_t(text::format("Failed to create or open file [%1].", path_), code);
}

void win_log_file_t::write(std::string_view lines) {
    if (!at_end_) {
        if (!files_.seek(file_.get(), end_))
            return;
        files_.cut(file_.get());  // what an earlier write left of a line and could not take back
    }
    DWORD written = 0;
    const auto length = static_cast<DWORD>(lines.size());
    at_end_ = files_.write(file_.get(), lines.data(), length, written) && written == length;
    if (!at_end_) {
        // The half of a line that reached a full disk would run into the next one.
        if (written > 0 && files_.seek(file_.get(), end_))
            files_.cut(file_.get());
        return;
    }
    end_ += length;
    if (flush_)
        files_.flush(file_.get());
}

std::uint64_t win_log_file_t::size() {
    std::uint64_t bytes = 0;
    if (!files_.size(file_.get(), bytes))
        exc::throw_last_error("Failed to get the size of file [%1].", path_);
    return bytes;
}

void win_log_file_t::compress_to(logging::gz_archive_t& archive) {
    at_end_ = false;
    exc::wrap_errors([&] { return text::format("Cannot compress log file. Log: [%1].", path_); },
                     [&] {
                         copy_to(archive);
                         // Only now: lines that the archive's buffers hold would be gone with the process.
                         archive.finish();
                         if (!files_.seek(file_.get(), 0) || !files_.cut(file_.get()))
                             exc::throw_last_error("Failed to empty file [%1].", path_);
                     });
    end_ = 0;
    at_end_ = true;
}

void win_log_file_t::copy_to(logging::gz_archive_t& archive) {
    if (!files_.seek(file_.get(), 0))
        exc::throw_last_error("Failed to read file [%1].", path_);
    const auto block = std::make_unique_for_overwrite<char[]>(read_block);
    std::uint64_t copied = 0;
    for (;;) {
        DWORD got = 0;
        if (!files_.read(file_.get(), block.get(), read_block, got))
            exc::throw_last_error("Failed to read file [%1].", path_);
        if (got == 0)
            break;
        archive.add(block.get(), got);
        copied += got;
    }
    if (copied < end_)
        throw exc::runtime_exc_t(text::format("Failed to read file [%1].", path_));
}

}  // namespace win
