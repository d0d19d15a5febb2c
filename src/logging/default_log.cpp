#include "logging/default_log.h"

#include <optional>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/log_directory.h"
#include "logging/log_names.h"
#include "logging/rotation.h"
#include "logging/write.h"

namespace logging {
namespace {

constexpr unsigned candidates = 1000;

void create_directory_of(const std::string& path, const file_functions_t& files) {
    const std::size_t end = path.find_last_of("\\/");
    if (end == std::string::npos || end == 0)
        return;
    const std::string directory = path.substr(0, end);
    if (!files.create_directories(text::widen(directory)))
        exc::throw_last_error("Cannot create folder. Folder path: [%1].", directory);
}

// The path, or where its directory cannot be made and an administrator chose it, the same path below the common directory.
std::string path_with_directory(const std::string& path, const file_functions_t& files) try {
    create_directory_of(path, files);
    return path;
} catch (const exc::win_sys_exc_t&) {
    const std::optional<std::string> configured = configured_log_directory();
    const std::optional<std::string> tail = configured ? tail_below(path, *configured) : std::nullopt;
    if (!tail)
        throw;
    const std::string moved = common_log_directory() + *tail;
    create_directory_of(moved, files);
    return moved;
}

std::shared_ptr<win::win_log_file_t> open_first_free(const std::string& path, const file_functions_t& files) {
    for (unsigned index = 0; index < candidates; ++index) {
        try {
            return std::make_shared<win::win_log_file_t>(make_indexed_log_name(path, index), files);
        } catch (const exc::file_locked_exc_t&) {
        }
    }
    throw exc::runtime_exc_t("All log files are locked.");
}

}  // namespace

std::shared_ptr<win::win_log_file_t> open_log_file(const std::string& path, const file_functions_t& files) {
    return exc::wrap_errors([&] { return text::format("Failed to initialize log [%1].", path); },
                            [&] { return open_first_free(path_with_directory(path, files), files); });
}

void open_default_log() noexcept try {
    const std::string path = default_log_directory() + "Auxiliary.KorvaProxyClient.log";
    const std::shared_ptr<win::win_log_file_t> file = open_log_file(path);
    // A log that an earlier run left full is compressed before anything is written to it. Where that fails, the log goes on.
    std::optional<exc::runtime_exc_t> failure;
    try {
        rotate_when_full(*file);
    } catch (const std::exception& error) {
        failure = exc::nested(text::format("Failed to initialize log [%1].", path), error);
    }
    default_log()->set_receiver(file);
    default_log()->set_size_control(true);
    write_log_header();
    if (failure)
        log_exception(*failure);
} catch (...) {
    // Nobody to tell: the host goes on without a log.
}

}  // namespace logging
