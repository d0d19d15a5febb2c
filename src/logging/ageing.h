#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "logging/file_functions.h"

namespace logging {

// One step of ageing; without a `to` the file is deleted.
struct age_step_t {
    std::string from;
    std::string to;
};

// Frees `path` for a new archive: the one of index `limit` goes, every other moves one index up, oldest first. Returns the
// steps taken. A failure moves back what was moved, so that an archive which cannot be renamed (somebody reads it) does not
// push out the oldest ones at every attempt, and throws.
std::vector<age_step_t> age_files(std::string_view path, std::string_view extension, unsigned limit,
                                  const file_functions_t& files);

// Moves back what can be moved back.
void undo_ageing(const std::vector<age_step_t>& taken, const file_functions_t& files);

}  // namespace logging
