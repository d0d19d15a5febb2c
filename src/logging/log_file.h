#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace logging {

class gz_archive_t;

namespace receiver {

// Where a log's lines go. The log calls one operation at a time, under its lock; what an operation throws, the log swallows.
// The order of the operations is the order of their slots.
class log_file_t {
public:
    // Appends whole lines, line ends included.
    virtual void write(std::string_view lines) = 0;

    // File path of the destination, UTF-8; empty where it is no file.
    virtual std::string path() const = 0;

    // What the log puts behind every line.
    virtual std::string_view eol() const = 0;

    // Bytes that the destination holds now; 0 where that cannot be measured.
    virtual std::uint64_t size() = 0;

    // Moves what the destination holds into the archive and empties it; does nothing where that is not possible.
    virtual void compress_to(gz_archive_t& archive) = 0;

    virtual ~log_file_t() = default;
};

}  // namespace receiver
}  // namespace logging
