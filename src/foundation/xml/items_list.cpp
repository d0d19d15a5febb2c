#include "foundation/xml/items_list.h"

#include <wchar.h>

#include "foundation/nesting.h"
#include "foundation/xml/document.h"

namespace xml {
namespace {

// The attributes are read in this order: an item that lacks several fails with the first of them.
file_item_t read_item(const xml_element_ptr& element) {
    file_item_t item;
    item.recursive = ::_wcsicmp(get_attribute(element, L"Recursive").c_str(), L"true") == 0;
    item.path = get_attribute(element, L"Path");
    item.mask = get_attribute(element, L"Mask");
    item.full_path = get_attribute(element, L"FullPath");
    item.relative_path = get_attribute(element, L"RelativePath");
    return item;
}

}  // namespace

void parse_items_list(std::wstring_view text, file_items_t& items) {
    exc::wrap_errors("Failed to de-serialize XML to the items list.", [&] {
        const xml_node_ptr document = document_to_node(load_document(text, false));
        const xml_node_ptr list = element_to_node(get_child_by_tag(document, L"FilesList"));
        std::vector<xml_element_ptr> elements;
        get_child_elements(list, elements);
        for (const xml_element_ptr& element : elements)
            items.push_back(read_item(element));
    });
}

}  // namespace xml
