#pragma once

#include <optional>
#include <string>

namespace logging {

// The directory that an administrator set: HKEY_LOCAL_MACHINE "SOFTWARE\Korva\Quorvane", value "LogDirectory", in the 64-bit
// view of the registry. None where it is missing, empty or no text.
std::optional<std::string> configured_log_directory();

// "\Korva\Backup\" below the machine's common application data. Throws exc::win_sys_exc_t.
std::string common_log_directory();

// The configured one, else the common one; ends with "\".
std::string default_log_directory();

// What of the path stands behind the directory and its "\"; none where the path does not lie below the directory.
std::optional<std::string> tail_below(const std::string& path, std::string directory);

}  // namespace logging
