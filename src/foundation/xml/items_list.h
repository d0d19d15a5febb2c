#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace xml {

// One entry of a "FilesList" document, named after its attributes.
struct file_item_t {
    std::wstring path;
    std::wstring mask;
    bool recursive = false;
    std::wstring relative_path;
    std::wstring full_path;
};
using file_items_t = std::vector<file_item_t>;

// Appends one item for every child of the root "FilesList", whatever the child's name; each must carry all five attributes.
// After a failure `items` may hold those read before it.
void parse_items_list(std::wstring_view text, file_items_t& items);

}  // namespace xml
