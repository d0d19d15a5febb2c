#include "foundation/automation.h"
#include "foundation/convert.h"
#include "foundation/xml/document.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/played_object.h"
#include "tests/foundation/thrown.h"

namespace {

using lines_t = std::vector<std::string>;

// Slots of the DOM's interfaces.
enum node_slot {
    node_name = 7,
    child_nodes = 12,
    element_attribute = 44,
    document_load = 65,
    document_validate = 68,
    document_resolve = 70
};
enum list_slot { list_length = 8, list_next = 9 };
enum factory_slot { factory_create = 3 };

constexpr HRESULT ok_with_nothing = 77;  // played as S_OK without what it should give

HRESULT hand_out(HRESULT result, played_object& object, void* out) {
    *static_cast<void**>(out) = result == S_OK ? &object : nullptr;
    if (result == S_OK)
        object.as<IUnknown>()->AddRef();
    return result == ok_with_nothing ? S_OK : result;
}

template <class Interface>
win::com_ptr<Interface> pointer_to(played_object& object) {
    return win::com_ptr<Interface>(object.as<Interface>());
}

// The lines of a failed DOM call; none for a text that is null.
lines_t failure(HRESULT result, const char* text) {
    if (!text)
        return {"nothing"};
    const HRESULT told = result == ok_with_nothing ? S_OK : result;
    return {" Error code: " + text::hex8(static_cast<std::uint32_t>(told)), text};
}

lines_t beneath(const char* first, lines_t lines) {
    if (lines.size() > 1)
        lines.insert(lines.begin(), first);
    return lines;
}

// A node with a list of one child; every call on the way answers what the test says.
struct played_dom {
    HRESULT open = S_OK, count = S_OK, next = S_OK, element = S_OK, name = S_OK;
    long length = 1;
    played_object node, list, child;

    played_dom() {
        node[child_nodes] = [this](void* out, auto...) { return hand_out(open, list, out); };
        list[list_length] = [this](void* out, auto...) {
            *static_cast<long*>(out) = length;
            return count;
        };
        list[list_next] = [this](void* out, auto...) { return hand_out(next, child, out); };
        child[node_name] = [this](void* out, auto...) {
            *static_cast<BSTR*>(out) = name == S_OK ? ::SysAllocString(L"tAg") : nullptr;
            return name == ok_with_nothing ? S_OK : name;
        };
    }
};

class XmlFailures : public com_thread {};

TEST_F(XmlFailures, OfAStepToTheChildrenHaveEachItsText) {
    constexpr auto no_child = "Failed to retrieve collection item by its index (0).";
    constexpr auto no_list = "Failed to open nodes collection.",
                   no_list_found = "Failed to open collection of the child nodes.";
    constexpr auto no_element = "Failed to convert XMLDOMNode to XMLDOMElement.";
    constexpr auto no_element_found = "XML node does not support IXMLDOMElement interface.";
    struct row_t {
        HRESULT played_dom::*step;
        HRESULT result;
        const char* walk;    // what get_child_elements tells; null where it succeeds
        const char* search;  // what find_children_by_tag tells
    };
    const row_t rows[] = {
        {&played_dom::open, S_FALSE, no_list, no_list_found},
        {&played_dom::open, ok_with_nothing, no_list, no_list_found},
        {&played_dom::count, E_FAIL, "Failed to define number of the nodes in the collection.",
         "Failed to define dimension of the collection."},
        {&played_dom::next, S_FALSE, no_child, no_child},
        {&played_dom::next, ok_with_nothing, no_child, no_child},
        {&played_dom::element, E_NOINTERFACE, no_element, no_element_found},
        {&played_dom::element, ok_with_nothing, no_element, no_element_found},
        {&played_dom::element, S_FALSE, no_element, nullptr},
        {&played_dom::name, E_OUTOFMEMORY, nullptr, "Failed to retrieve node name."},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.search ? row.search : row.walk);
        played_dom dom;
        dom.*row.step = row.result;
        dom.child.query_gives_nothing = dom.element == ok_with_nothing;
        dom.child.query_result = dom.element == ok_with_nothing ? S_OK : dom.element;
        const auto node = pointer_to<IXMLDOMNode>(dom.node);
        std::vector<xml::xml_element_ptr> found;
        EXPECT_EQ(thrown([&] { xml::get_child_elements(node, found); }),
                  beneath("Failed to retrieve children of the XML node.", failure(row.result, row.walk)));
        EXPECT_EQ(thrown([&] { xml::find_children_by_tag(node, L"Tag", xml::all_children, found); }),
                  beneath("Failed to enumerate child nodes having the specified tag 'Tag'.", failure(row.result, row.search)));
    }
}

TEST_F(XmlFailures, AreNamedWithTheirIndexAndANullNameMatchesTheEmptyTag) {
    played_dom dom;
    dom.name = ok_with_nothing;
    dom.length = 3;
    int steps = 0;
    dom.list[list_next] = [&](void* out, auto...) { return hand_out(++steps < 3 ? S_OK : E_FAIL, dom.child, out); };
    const auto node = pointer_to<IXMLDOMNode>(dom.node);
    std::vector<xml::xml_element_ptr> found;
    EXPECT_EQ(thrown([&] { xml::find_children_by_tag(node, L"", xml::all_children, found); }).back(),
              "Failed to retrieve collection item by its index (2).");
    EXPECT_EQ(found.size(), 2u);

    steps = 1;  // so that the second child fails, at which a search for one does not look
    EXPECT_TRUE(xml::get_child_by_tag(node, L""));
    EXPECT_EQ(steps, 2);
}

TEST_F(XmlFailures, OfAnAttributeAreAnyResultButZeroAndAnyTypeButText) {
    struct row_t {
        HRESULT result;
        VARTYPE type;
        BSTR text;
        lines_t lines;
        std::wstring value;
    };
    const row_t rows[] = {
        {S_FALSE, VT_EMPTY, nullptr, failure(S_FALSE, "Failed to get value of the attribute 'Size'."), L""},
        {E_FAIL, VT_EMPTY, nullptr, failure(E_FAIL, "Failed to get value of the attribute 'Size'."), L""},
        {S_OK, VT_I4, nullptr, {"Unexpected type (3) of the XML attribute (Size). Expected: 'VT_BSTR'."}, L""},
        {S_OK, VT_BSTR, nullptr, {"nothing"}, L""},
        {S_OK, VT_BSTR, ::SysAllocStringLen(L"before\0behind", 13), {"nothing"}, L"before"},
    };
    for (const row_t& row : rows) {
        played_object played;
        played[element_attribute] = [&](void*, void* value, auto...) {
            static_cast<VARIANT*>(value)->vt = row.type;
            static_cast<VARIANT*>(value)->bstrVal = row.text;
            return row.result;
        };
        std::wstring value;
        EXPECT_EQ(thrown([&] { value = xml::get_attribute(pointer_to<IXMLDOMElement>(played), L"Size"); }), row.lines);
        EXPECT_EQ(value, row.value);
    }
}

TEST_F(XmlFailures, OfTheQueriesForANodeAreNegativeResultsOnly) {
    played_object object;
    object.query_result = S_FALSE;
    EXPECT_TRUE(xml::document_to_node(pointer_to<IXMLDOMDocument>(object)));
    EXPECT_TRUE(xml::element_to_node(pointer_to<IXMLDOMElement>(object)));
    object.query_result = E_NOINTERFACE;
    EXPECT_EQ(thrown([&] { xml::document_to_node(pointer_to<IXMLDOMDocument>(object)); }).back(),
              "Failed to convert IXMLDOMDocument to IXMLDOMNode");
    EXPECT_EQ(thrown([&] { xml::element_to_node(pointer_to<IXMLDOMElement>(object)); }).back(),
              "The given DOM element does not support IXMLDOMNode interface.");
}

// A class object registered in the process is found before the platform's own.
class played_document_class {
public:
    played_document_class() {
        factory_[factory_create] = [this](void*, void*, void* out) { return hand_out(created, document_, out); };
        document_[document_validate] = [this](void* on, auto...) {
            validate_on = static_cast<VARIANT_BOOL>(reinterpret_cast<std::uintptr_t>(on));
            return validated;
        };
        document_[document_resolve] = [this](void* on, auto...) { return on ? E_UNEXPECTED : externals_off; };
        document_[document_load] = [this](void* text, void* successful, auto...) {
            loaded_text = static_cast<BSTR>(text);
            *static_cast<VARIANT_BOOL*>(successful) = loaded == ok_with_nothing ? VARIANT_FALSE : VARIANT_TRUE;
            return loaded == ok_with_nothing ? S_OK : loaded;
        };
        EXPECT_EQ(::CoRegisterClassObject(CLSID_DOMDocument, factory_.as<IUnknown>(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                          &cookie_),
                  S_OK);
    }
    ~played_document_class() { ::CoRevokeClassObject(cookie_); }

    HRESULT created = S_OK, validated = S_OK, externals_off = S_OK, loaded = S_OK;
    VARIANT_BOOL validate_on = 77;
    BSTR loaded_text = nullptr;

private:
    played_object document_, factory_;
    DWORD cookie_ = 0;
};

TEST_F(XmlFailures, OfALoadAreEachToldApart) {
    struct row_t {
        HRESULT played_document_class::*step;
        HRESULT result;
        const char* text;  // null: loaded
    };
    const row_t rows[] = {
        {&played_document_class::loaded, S_OK, nullptr},
        {&played_document_class::loaded, S_FALSE, nullptr},
        {&played_document_class::loaded, E_FAIL, "Failed to load XML document '<\xd0\xb4/>'."},
        {&played_document_class::loaded, ok_with_nothing, "Failed to load XML document '<\xd0\xb4/>'."},
        {&played_document_class::validated, S_FALSE, "Failed to disable document validation."},
        {&played_document_class::externals_off, E_FAIL, "Failed to disable document validation."},
        {&played_document_class::created, REGDB_E_CLASSNOTREG, "Failed to create instance of DOMDocument"},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.result);
        played_document_class played;
        played.*row.step = row.result;
        for (const bool validate : {true, false}) {
            EXPECT_EQ(thrown([&] { xml::load_document(L"<д/>", validate); }), failure(row.result, row.text));
            EXPECT_EQ(played.validate_on, played.created != S_OK ? 77 : validate ? VARIANT_TRUE : VARIANT_FALSE);
        }
    }
}

TEST_F(XmlFailures, NoTextAndAnEmptyTextAreToldApart) {
    played_document_class played;
    xml::load_document({}, false);
    EXPECT_EQ(played.loaded_text, nullptr);
    xml::load_document(L"", false);
    EXPECT_NE(played.loaded_text, nullptr);
}

}  // namespace
