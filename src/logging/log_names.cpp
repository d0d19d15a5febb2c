#include "logging/log_names.h"

#include "foundation/format.h"
#include "foundation/names.h"

namespace logging {

std::string make_indexed_log_name(std::string_view path, unsigned index) {
    if (index == 0)
        return std::string(path);
    std::string_view base = path;
    std::string_view extension = ".log";
    const std::size_t point = path.rfind('.');
    if (point != std::string_view::npos) {
        const std::string_view found = path.substr(point);
        if (win::same_name(found, extension)) {
            base = path.substr(0, point);
            extension = found;
        } else if (found.size() == 1) {
            base = path.substr(0, point);
            extension = {};
        }
    }
    return text::format("%1.%2%3", base, index, extension);
}

std::string make_aged_name(std::string_view path, std::string_view extension, unsigned index) {
    if (index == 0)
        return std::string(path);
    const std::size_t point = path.rfind('.');
    if (point == std::string_view::npos)
        return text::format("%1.%2", path, index);
    const std::string_view found = path.substr(point + 1);
    if (found.empty())
        return text::format("%1%2", path, index);
    if (win::same_name(found, extension))
        return text::format("%1.%2.%3", path.substr(0, point), index, found);
    return text::format("%1.%2", path, index);
}

}  // namespace logging
