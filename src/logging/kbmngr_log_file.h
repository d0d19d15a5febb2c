#pragma once

#include <memory>
#include <string>

#include "logging/log_file.h"
#include "logging/mutex_holder.h"

namespace win {

// A log file that several processes write: it is open only for the length of one write, and never rotated.
class kbmngr_log_file_t : public logging::receiver::log_file_t {
public:
    // Does not touch the file. Throws exc::win_sys_exc_t (1113) for a path that the code page of the process cannot hold.
    explicit kbmngr_log_file_t(std::string path);

    // A file that cannot be opened drops the text.
    void write(std::string_view lines) override;
    std::string path() const override { return path_; }
    std::string_view eol() const override { return "\r\n"; }
    std::uint64_t size() override { return 0; }
    void compress_to(logging::gz_archive_t&) override {}

private:
    std::string path_;
    std::string code_page_path_;
};

// The same, each operation under a mutex that all writers of the file name alike. A text that does not get the mutex is lost.
class kbmngr_sync_log_file_t : public kbmngr_log_file_t {
public:
    kbmngr_sync_log_file_t(std::string path, std::string mutex_name, DWORD wait_ms = 40'000);

    void write(std::string_view lines) override;
    std::uint64_t size() override;
    void compress_to(logging::gz_archive_t& archive) override;

private:
    std::string mutex_name_;  // text of the code page
    DWORD wait_ms_;
    std::shared_ptr<CMutexHolder> mutex_ = std::make_shared<CMutexHolder>();
};

}  // namespace win
