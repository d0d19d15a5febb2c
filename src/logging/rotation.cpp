#include "logging/rotation.h"

#include "foundation/convert.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/ageing.h"
#include "logging/gz_archive.h"

namespace logging {
namespace {

constexpr int smallest_archive = 9;

void rotate(receiver::log_file_t& receiver, const file_functions_t& files, const rotation_limits_t& limits) {
    const std::string archive_path = receiver.path() + ".gz";
    const std::vector<age_step_t> aged = age_files(archive_path, "gz", limits.older_archives, files);
    bool made = false;
    bool moved = false;
    try {
        gz_archive_t archive(archive_path, smallest_archive, files);
        made = true;
        receiver.compress_to(archive);
        moved = true;
        archive.close();
    } catch (...) {
        if (!moved && (!made || files.remove(text::widen(archive_path))))
            undo_ageing(aged, files);
        throw;
    }
}

}  // namespace

void rotate_when_full(receiver::log_file_t& receiver, const file_functions_t& files, const rotation_limits_t& limits) {
    const auto fail = [&] { return text::format("Unable to validate log size limit. Log path: [%1].", receiver.path()); };
    exc::wrap_errors(fail, [&] {
        if (receiver.size() >= limits.size)
            rotate(receiver, files, limits);
    });
}

}  // namespace logging
