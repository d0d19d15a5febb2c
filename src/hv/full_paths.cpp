#include "hv/full_paths.h"

#include "foundation/xml/items_list.h"

namespace hv {

std::vector<std::wstring> full_paths(std::wstring_view files_list_xml) {
    xml::file_items_t items;
    xml::parse_items_list(files_list_xml, items);
    std::vector<std::wstring> paths;
    paths.reserve(items.size());
    for (xml::file_item_t& item : items)
        paths.push_back(std::move(item.full_path));
    return paths;
}

}  // namespace hv
