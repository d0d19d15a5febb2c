// The DOM fails at each step in turn: every failure has a text of its own.
#include <gmock/gmock.h>

#include <tuple>

#include "foundation/convert.h"
#include "foundation/xml/document.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/played_object.h"
#include "tests/foundation/thrown.h"

namespace {

using ::testing::ElementsAre;
using lines_t = std::vector<std::string>;
constexpr HRESULT ok_with_nothing = played_object::ok_with_nothing;

// Slots of the DOM's interfaces.
enum node_slot { node_name = 7, child_nodes = 12, element_attribute = 44 };
enum document_slot { document_load = 65, document_validate = 68, document_resolve = 70 };
enum list_slot { list_length = 8, list_next = 9 };
enum factory_slot { factory_create = 3 };

// The last two lines of a failed step: "nothing", or what the DOM call answered and the text.
std::string failure_of(auto step) {
    lines_t lines = thrown(step);
    return lines.size() < 2 ? lines.back() : *(lines.end() - 2) + '\n' + lines.back();
}
std::string failure(HRESULT result, const char* text) {
    const auto told = static_cast<std::uint32_t>(result == ok_with_nothing ? S_OK : result);
    return text ? " Error code: " + text::hex8(told) + '\n' + text : "nothing";
}

// A node with a list of one child; every call on the way answers what the test says.
struct played_dom {
    HRESULT open = S_OK, count = S_OK, next = S_OK, element = S_OK, name = S_OK;
    long length = 1;
    played_object node, list, child;

    played_dom() {
        node[child_nodes] = [this](void* out, auto...) { return list.hand_out(open, out); };
        list[list_length] = [this](void* out, auto...) {
            *static_cast<long*>(out) = length;
            return count;
        };
        list[list_next] = [this](void* out, auto...) { return child.hand_out(next, out); };
        child[played_object::query_interface] = [this](void*, void* out, void*) { return child.hand_out(element, out); };
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
    const struct {
        HRESULT played_dom::*step;
        HRESULT result;
        const char* walk;    // what get_child_elements tells; null where it succeeds
        const char* search;  // what find_children_by_tag tells
    } rows[] = {
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
    for (const auto& row : rows) {
        SCOPED_TRACE(row.search ? row.search : row.walk);
        played_dom dom;
        dom.*row.step = row.result;
        const auto node = dom.node.as<IXMLDOMNode>();
        std::vector<xml::xml_element_ptr> found;
        EXPECT_EQ(failure_of([&] { xml::get_child_elements(node, found); }), failure(row.result, row.walk));
        EXPECT_EQ(failure_of([&] { xml::find_children_by_tag(node, L"Tag", xml::all_children, found); }),
                  failure(row.result, row.search));
    }
}

TEST_F(XmlFailures, AreNamedWithTheirIndexAndANullNameMatchesTheEmptyTag) {
    played_dom dom;
    dom.name = ok_with_nothing;
    dom.length = 3;
    int steps = 0;
    dom.list[list_next] = [&](void* out, auto...) { return dom.child.hand_out(++steps < 3 ? S_OK : E_FAIL, out); };
    const auto node = dom.node.as<IXMLDOMNode>();
    std::vector<xml::xml_element_ptr> found;
    EXPECT_THAT(thrown([&] { xml::find_children_by_tag(node, L"", xml::all_children, found); }),
                ElementsAre("Failed to enumerate child nodes having the specified tag ''.", " Error code: 0x80004005",
                            "Failed to retrieve collection item by its index (2)."));
    EXPECT_EQ(found.size(), 2u);

    steps = 1;  // so that the second child fails, at which a search for one does not look
    EXPECT_TRUE(xml::get_child_by_tag(node, L""));
    EXPECT_EQ(steps, 2);
}

TEST_F(XmlFailures, OfAnAttributeAreAnyResultButZeroAndAnyTypeButText) {
    const std::tuple<HRESULT, VARTYPE, std::string> rows[] = {
        {E_FAIL, VT_EMPTY, failure(E_FAIL, "Failed to get value of the attribute 'Size'.")},
        {S_OK, VT_I4, "Unexpected type (3) of the XML attribute (Size). Expected: 'VT_BSTR'."},
        {S_OK, VT_BSTR, "nothing"}};
    for (const auto& [result, type, expected] : rows) {
        played_object played;
        played[element_attribute] = [result = result, type = type](void*, void* value, auto...) {
            static_cast<VARIANT*>(value)->vt = type;
            return result;
        };
        EXPECT_EQ(failure_of([&] { EXPECT_EQ(xml::get_attribute(played.as<IXMLDOMElement>(), L"Size"), L""); }), expected);
    }
}

TEST_F(XmlFailures, OfTheQueriesForANodeAreNegativeResultsOnly) {
    HRESULT result = S_FALSE;
    played_object object;
    object[played_object::query_interface] = [&](void*, void* out, void*) { return object.hand_out(result, out); };
    EXPECT_TRUE(xml::document_to_node(object.as<IXMLDOMDocument>()));
    EXPECT_TRUE(xml::element_to_node(object.as<IXMLDOMElement>()));
    result = E_NOINTERFACE;
    EXPECT_EQ(thrown([&] { xml::document_to_node(object.as<IXMLDOMDocument>()); }).back(),
              "Failed to convert IXMLDOMDocument to IXMLDOMNode");
    EXPECT_EQ(thrown([&] { xml::element_to_node(object.as<IXMLDOMElement>()); }).back(),
              "The given DOM element does not support IXMLDOMNode interface.");
}

// A class object registered in the process is found before the platform's own.
struct played_document_class {
    HRESULT created = S_OK, validated = S_OK, externals_off = S_OK, loaded = S_OK;
    VARIANT_BOOL validate_on = 77;
    played_object document, factory;
    DWORD cookie = 0;

    played_document_class() {
        factory[factory_create] = [this](void*, void*, void* out) { return document.hand_out(created, out); };
        document[document_validate] = [this](void* on, auto...) {
            validate_on = static_cast<VARIANT_BOOL>(reinterpret_cast<std::uintptr_t>(on));
            return validated;
        };
        document[document_resolve] = [this](void* on, auto...) { return on ? E_UNEXPECTED : externals_off; };
        document[document_load] = [this](void*, void* successful, auto...) {
            *static_cast<VARIANT_BOOL*>(successful) = loaded == ok_with_nothing ? VARIANT_FALSE : VARIANT_TRUE;
            return loaded == ok_with_nothing ? S_OK : loaded;
        };
        EXPECT_EQ(::CoRegisterClassObject(CLSID_DOMDocument, factory.as<IUnknown>().get(), CLSCTX_INPROC_SERVER,
                                          REGCLS_MULTIPLEUSE, &cookie),
                  S_OK);
    }
    ~played_document_class() { ::CoRevokeClassObject(cookie); }
};

TEST_F(XmlFailures, OfALoadAreEachToldApart) {
    const struct {
        HRESULT played_document_class::*step;
        HRESULT result;
        const char* text;  // null: loaded
    } rows[] = {
        {&played_document_class::loaded, S_OK, nullptr},
        {&played_document_class::loaded, S_FALSE, nullptr},
        {&played_document_class::loaded, E_FAIL, "Failed to load XML document '<\xd0\xb4/>'."},
        {&played_document_class::loaded, ok_with_nothing, "Failed to load XML document '<\xd0\xb4/>'."},
        {&played_document_class::validated, S_FALSE, "Failed to disable document validation."},
        {&played_document_class::externals_off, E_FAIL, "Failed to disable document validation."},
        {&played_document_class::created, REGDB_E_CLASSNOTREG, "Failed to create instance of DOMDocument"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        played_document_class played;
        played.*row.step = row.result;
        for (const bool validate : {true, false}) {
            EXPECT_EQ(failure_of([&] { xml::load_document(L"<д/>", validate); }), failure(row.result, row.text));
            EXPECT_EQ(played.validate_on, played.created != S_OK ? 77 : validate ? VARIANT_TRUE : VARIANT_FALSE);
        }
    }
}

}  // namespace
