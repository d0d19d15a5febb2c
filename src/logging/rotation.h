#pragma once

#include <cstdint>

#include "logging/file_functions.h"
#include "logging/log_file.h"

namespace logging {

// When a log file is moved into an archive, and how many of those stay.
struct rotation_limits_t {
    std::uint64_t size = 15'728'640;  // bytes, 15 MiB: from here on the file is compressed
    unsigned older_archives = 10;     // beside the newest one
};

// Compresses what the receiver holds into "<its path>.gz" and empties it, where it has reached the size; older archives move
// one index up before. A failure before the receiver was emptied takes away the unfinished archive and puts the older ones
// back: the log still has every line, and archives are not pushed out by attempts that fail. An unfinished archive that cannot
// be deleted stays as the newest one, and the older ones where they are. Throws exc::runtime_exc_t.
void rotate_when_full(receiver::log_file_t& receiver, const file_functions_t& files = {}, const rotation_limits_t& limits = {});

}  // namespace logging
