#pragma once

#include <string>

#include "logging/file_functions.h"

namespace logging {

// A gzip archive that is being written.
class gz_archive_t {
public:
    // Makes the archive new; level 1 (fast) to 9 (small). `files` must outlive this. Throws exc::runtime_exc_t, like all
    // operations.
    gz_archive_t(std::string path, int level, const file_functions_t& files);
    gz_archive_t(std::string path, int level, file_functions_t&& files) = delete;
    ~gz_archive_t();  // closes; a failure is not told
    gz_archive_t(const gz_archive_t&) = delete;
    gz_archive_t& operator=(const gz_archive_t&) = delete;

    void add(const void* bytes, unsigned length);

    // Ends the data: once this returns, all that was added can be read from the file, whatever becomes of the process.
    void finish();

    void close();

private:
    std::string path_;
    const file_functions_t& files_;
    gzFile_s* archive_;
};

}  // namespace logging
