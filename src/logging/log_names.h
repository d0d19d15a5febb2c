#pragma once

#include <string>
#include <string_view>

// How a log's neighbours are named. Paths are UTF-8; extensions are compared by win::same_name.
namespace logging {

// The name to try next when `index` others are held by other processes: 0 is the path itself; a.log and 2 give a.2.log, a.txt
// and 2 give a.txt.2.log, "a." and 2 give a.2.
std::string make_indexed_log_name(std::string_view path, unsigned index);

// The name of an older archive: 0 is the path itself; a.log.gz with "gz" and 3 gives a.log.3.gz, a.txt and 3 give a.txt.3,
// "a." and 3 give "a.3".
std::string make_aged_name(std::string_view path, std::string_view extension, unsigned index);

}  // namespace logging
