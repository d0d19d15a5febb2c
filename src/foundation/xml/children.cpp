#include <wchar.h>

#include "foundation/automation.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "foundation/xml/document.h"

namespace xml {
namespace {

using node_list_ptr = win::com_ptr<IXMLDOMNodeList>;

// Success without an object is a failure everywhere below: nothing could be done with it.

node_list_ptr open_children(const xml_node_ptr& node, const char* failure) {
    node_list_ptr children;
    if (const HRESULT result = node->get_childNodes(children.put()); result != S_OK || !children)
        throw exc::com_exc_t(result, failure);
    return children;
}

long count_of(const node_list_ptr& children, const char* failure) {
    long count = 0;
    if (const HRESULT result = children->get_length(&count); result != S_OK)
        throw exc::com_exc_t(result, failure);
    return count;
}

// The child at `index`. The list is stepped, not indexed: some DOMs walk from the start for every indexed access, so that
// 100,000 children take seconds.
xml_node_ptr next_child(const node_list_ptr& children, long index) {
    xml_node_ptr child;
    if (const HRESULT result = children->nextNode(child.put()); result != S_OK || !child)
        throw exc::com_exc_t(result, text::format("Failed to retrieve collection item by its index (%1).", index));
    return child;
}

win::unique_bstr name_of(const xml_node_ptr& node) {
    win::unique_bstr name;
    if (const HRESULT result = node->get_nodeName(name.put()); result != S_OK)
        throw exc::com_exc_t(result, "Failed to retrieve node name.");
    return name;
}

bool is_named(const xml_node_ptr& node, const std::wstring& tag) {
    const win::unique_bstr name = name_of(node);
    return ::_wcsicmp(name ? name.get() : L"", tag.c_str()) == 0;
}

}  // namespace

void get_child_elements(const xml_node_ptr& node, std::vector<xml_element_ptr>& elements) {
    exc::wrap_errors("Failed to retrieve children of the XML node.", [&] {
        const node_list_ptr children = open_children(node, "Failed to open nodes collection.");
        const long count = count_of(children, "Failed to define number of the nodes in the collection.");
        for (long index = 0; index < count; ++index) {
            xml_element_ptr element;
            const xml_node_ptr child = next_child(children, index);
            if (const HRESULT result = child.query(element, IID_IXMLDOMElement); result != S_OK || !element)
                throw exc::com_exc_t(result, "Failed to convert XMLDOMNode to XMLDOMElement.");
            elements.push_back(std::move(element));
        }
    });
}

void find_children_by_tag(const xml_node_ptr& node, std::wstring_view tag, std::uint64_t max_count,
                          std::vector<xml_element_ptr>& elements) {
    const auto failure = [&] { return text::format("Failed to enumerate child nodes having the specified tag '%1'.", tag); };
    exc::wrap_errors(failure, [&] {
        const std::wstring wanted(tag);
        const node_list_ptr children = open_children(node, "Failed to open collection of the child nodes.");
        const long count = count_of(children, "Failed to define dimension of the collection.");
        for (long index = 0; index < count; ++index) {
            if (max_count != all_children && elements.size() >= max_count)
                break;
            const xml_node_ptr child = next_child(children, index);
            if (!is_named(child, wanted))
                continue;
            xml_element_ptr element;
            if (const HRESULT result = child.query(element, IID_IXMLDOMElement); FAILED(result) || !element)
                throw exc::com_exc_t(result, "XML node does not support IXMLDOMElement interface.");
            elements.push_back(std::move(element));
        }
    });
}

xml_element_ptr get_child_by_tag(const xml_node_ptr& node, std::wstring_view tag) {
    std::vector<xml_element_ptr> found;
    find_children_by_tag(node, tag, 1, found);
    if (found.empty())
        throw exc::runtime_exc_t(text::format("There is no child node with the specified name '%1'.", tag));
    return found.front();
}

}  // namespace xml
