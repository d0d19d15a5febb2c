#include "logging/log_names.h"

#include "foundation/format.h"

namespace logging {
namespace {

bool equal_without_case(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (left.size() != right.size())
        return false;
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (lower(left[i]) != lower(right[i]))
            return false;
    }
    return true;
}

}  // namespace

std::string make_indexed_log_name(std::string_view path, unsigned index) {
    if (index == 0)
        return std::string(path);
    std::string_view base = path;
    std::string_view extension = ".log";
    const std::size_t point = path.rfind('.');
    if (point != std::string_view::npos) {
        const std::string_view found = path.substr(point);
        if (equal_without_case(found, extension)) {
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
    if (equal_without_case(found, extension))
        return text::format("%1.%2.%3", path.substr(0, point), index, found);
    return text::format("%1.%2", path, index);
}

}  // namespace logging
