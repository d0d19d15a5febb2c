#include "logging/kbmngr_log_file.h"

#include <utility>

#include "foundation/convert.h"
#include "foundation/handles.h"

namespace win {

kbmngr_log_file_t::kbmngr_log_file_t(std::string path) : path_(std::move(path)), code_page_path_(text::to_code_page(path_)) {}

void kbmngr_log_file_t::write(std::string_view lines) {
    const unique_file file(::CreateFileA(code_page_path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !::SetFilePointerEx(file.get(), LARGE_INTEGER{}, nullptr, FILE_END))
        return;
    DWORD written = 0;
    ::WriteFile(file.get(), lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
}

kbmngr_sync_log_file_t::kbmngr_sync_log_file_t(std::string path, std::string mutex_name, DWORD wait_ms)
    : kbmngr_log_file_t(std::move(path)), mutex_name_(text::to_code_page(mutex_name)), wait_ms_(wait_ms) {}

void kbmngr_sync_log_file_t::write(std::string_view lines) try {
    const CMutexHolder::owner_t owner(*mutex_, mutex_name_, wait_ms_);
    kbmngr_log_file_t::write(lines);
} catch (const std::exception&) {
}

std::uint64_t kbmngr_sync_log_file_t::size() try {
    const CMutexHolder::owner_t owner(*mutex_, mutex_name_, wait_ms_);
    return kbmngr_log_file_t::size();
} catch (const std::exception&) {
    return 0;
}

void kbmngr_sync_log_file_t::compress_to(logging::gz_archive_t& archive) try {
    const CMutexHolder::owner_t owner(*mutex_, mutex_name_, wait_ms_);
    kbmngr_log_file_t::compress_to(archive);
} catch (const std::exception&) {
}

}  // namespace win
