#include "foundation/xml/document.h"

#include "foundation/automation.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace xml {

xml_document_ptr create_document() {
    xml_document_ptr document;
    const HRESULT result = ::CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument,
                                              reinterpret_cast<void**>(document.put()));
    if (result != S_OK || !document)
        throw exc::com_exc_t(result, "Failed to create instance of DOMDocument");
    return document;
}

xml_document_ptr load_document(std::wstring_view text, bool validate) {
    xml_document_ptr document = create_document();
    if (const HRESULT result = document->put_validateOnParse(validate ? VARIANT_TRUE : VARIANT_FALSE); result != S_OK)
        throw exc::com_exc_t(result, "Failed to disable document validation.");

    // The text may be a service's answer: nothing that it names is fetched.
    if (const HRESULT result = document->put_resolveExternals(VARIANT_FALSE); result != S_OK)
        throw exc::com_exc_t(result, "Failed to disable document validation.");

    const win::unique_bstr source = win::make_bstr(text);
    VARIANT_BOOL successful = VARIANT_FALSE;
    if (const HRESULT result = document->loadXML(source.get(), &successful); FAILED(result) || !successful)
        throw exc::com_exc_t(result, text::format("Failed to load XML document '%1'.", text));
    return document;
}

xml_node_ptr document_to_node(const xml_document_ptr& document) {
    xml_node_ptr node;
    if (const HRESULT result = document.query(node, IID_IXMLDOMNode); FAILED(result) || !node)
        throw exc::com_exc_t(result, "Failed to convert IXMLDOMDocument to IXMLDOMNode");
    return node;
}

xml_node_ptr element_to_node(const xml_element_ptr& element) {
    xml_node_ptr node;
    if (const HRESULT result = element.query(node, IID_IXMLDOMNode); FAILED(result) || !node)
        throw exc::com_exc_t(result, "The given DOM element does not support IXMLDOMNode interface.");
    return node;
}

std::wstring get_attribute(const xml_element_ptr& element, std::wstring_view name) {
    const win::unique_bstr attribute = win::make_bstr(name);
    win::unique_variant value;
    // S_FALSE is what the DOM answers for an attribute that is not there.
    if (const HRESULT result = element->getAttribute(attribute.get(), value.get()); result != S_OK)
        throw exc::com_exc_t(result, text::format("Failed to get value of the attribute '%1'.", name));
    if (value->vt != VT_BSTR)
        throw exc::runtime_exc_t(
            text::format("Unexpected type (%1) of the XML attribute (%2). Expected: 'VT_BSTR'.", value->vt, name));
    return value->bstrVal ? std::wstring(value->bstrVal) : std::wstring();
}

}  // namespace xml
