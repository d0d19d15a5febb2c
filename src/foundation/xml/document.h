#pragma once

#include <windows.h>

#include <msxml.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/com_ptr.h"

// Reading of XML text on the platform's DOM. COM must be initialised on the calling thread. A failing DOM call becomes an
// exc::com_exc_t with its result; which results count as failures differs from call to call on purpose.
namespace xml {

using xml_document_ptr = win::com_ptr<IXMLDOMDocument>;
using xml_node_ptr = win::com_ptr<IXMLDOMNode>;
using xml_element_ptr = win::com_ptr<IXMLDOMElement>;

// For find_children_by_tag: no limit.
inline constexpr std::uint64_t all_children = ~std::uint64_t{0};

// A new, empty document.
xml_document_ptr create_document();

// Parses the text; text that is no XML fails with an error that quotes all of it.
xml_document_ptr load_document(std::wstring_view text, bool validate);

// The same object seen as a node.
xml_node_ptr document_to_node(const xml_document_ptr& document);
xml_node_ptr element_to_node(const xml_element_ptr& element);

// The value of an attribute (exact name). An attribute that is not there is an error; one that is empty is an empty text.
std::wstring get_attribute(const xml_element_ptr& element, std::wstring_view name);

// Appends every child. All must be elements: a comment among them fails.
void get_child_elements(const xml_node_ptr& node, std::vector<xml_element_ptr>& elements);

// Appends the children of that name, in any case, until `elements` holds `max_count` entries, those it held before included.
void find_children_by_tag(const xml_node_ptr& node, std::wstring_view tag, std::uint64_t max_count,
                          std::vector<xml_element_ptr>& elements);

// The first child of that name, in any case; exc::runtime_exc_t where there is none.
xml_element_ptr get_child_by_tag(const xml_node_ptr& node, std::wstring_view tag);

}  // namespace xml
