#include "logging/gz_archive.h"

#include <zlib.h>

#include <cerrno>
#include <utility>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace logging {

gz_archive_t::gz_archive_t(std::string path, int level, const file_functions_t& files)
    : path_(std::move(path)), files_(files), archive_(files.gz_open(text::widen(path_), text::format("wb%1", level).c_str())) {
    if (archive_)
        return;
    const int reason = errno;
    exc::runtime_exc_t error(text::format("Failed to open GZ archive [%1].", path_));
    error.add_line(text::format("Error code: %1", reason));
    throw error;
}

gz_archive_t::~gz_archive_t() {
    if (archive_)
        files_.gz_close(archive_);
}

void gz_archive_t::add(const void* bytes, unsigned length) {
    if (length > 0 && files_.gz_write(archive_, bytes, length) <= 0)
        throw exc::runtime_exc_t(text::format("Cannot add data to the GZ archive [%1].", path_));
}

void gz_archive_t::finish() {
    if (files_.gz_finish(archive_) != Z_OK)
        throw exc::runtime_exc_t(text::format("Cannot add data to the GZ archive [%1].", path_));
}

void gz_archive_t::close() {
    if (files_.gz_close(std::exchange(archive_, nullptr)) != Z_OK)
        throw exc::runtime_exc_t(text::format("Cannot close GZ archive [%1].", path_));
}

}  // namespace logging
