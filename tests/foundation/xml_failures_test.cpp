#include <ostream>

#include "foundation/automation.h"
#include "foundation/errors.h"
#include "foundation/xml/document.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/played_object.h"

namespace {

using lines_t = std::vector<std::string>;

// Slots of the DOM's interfaces.
enum node_slot { node_name = 7, child_nodes = 12, element_attribute = 44, document_load = 65, document_validate = 68 };
enum list_slot { list_length = 8, list_next = 9 };
enum factory_slot { factory_create = 3 };

template <class Interface>
win::com_ptr<Interface> pointer_to(played_object& object) {
    return win::com_ptr<Interface>(object.as<Interface>());
}

// A node with a list of one child; every call on the way answers what the test says.
struct played_dom {
    HRESULT open = S_OK, count = S_OK, next = S_OK, name = S_OK;
    bool named = true;
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
            *static_cast<BSTR*>(out) = name == S_OK && named ? ::SysAllocString(L"tAg") : nullptr;
            return name;
        };
    }

    static HRESULT nothing(void* out, void*, void*) {
        *static_cast<void**>(out) = nullptr;
        return S_OK;
    }
    static HRESULT hand_out(HRESULT result, played_object& object, void* out) {
        *static_cast<void**>(out) = result == S_OK ? &object : nullptr;
        if (result == S_OK)
            object.as<IUnknown>()->AddRef();
        return result;
    }
};

struct failure_t {
    const char* name;
    void (*play)(played_dom&);
    std::vector<std::string> walk;    // lines of get_child_elements; empty where it succeeds
    std::vector<std::string> search;  // lines of find_children_by_tag
};
void PrintTo(const failure_t& failure, std::ostream* out) { *out << failure.name; }

const failure_t failures[] = {
    {"no list, S_FALSE included",
     [](played_dom& dom) { dom.open = S_FALSE; },
     {" Error code: 0x00000001", "Failed to open nodes collection."},
     {" Error code: 0x00000001", "Failed to open collection of the child nodes."}},
    {"no count",
     [](played_dom& dom) { dom.count = E_FAIL; },
     {" Error code: 0x80004005", "Failed to define number of the nodes in the collection."},
     {" Error code: 0x80004005", "Failed to define dimension of the collection."}},
    {"no child",
     [](played_dom& dom) { dom.next = S_FALSE; },
     {" Error code: 0x00000001", "Failed to retrieve collection item by its index (0)."},
     {" Error code: 0x00000001", "Failed to retrieve collection item by its index (0)."}},
    {"success without a list",
     [](played_dom& dom) { dom.node[child_nodes] = played_dom::nothing; },
     {" Error code: 0x00000000", "Failed to open nodes collection."},
     {" Error code: 0x00000000", "Failed to open collection of the child nodes."}},
    {"success without a child",
     [](played_dom& dom) { dom.list[list_next] = played_dom::nothing; },
     {" Error code: 0x00000000", "Failed to retrieve collection item by its index (0)."},
     {" Error code: 0x00000000", "Failed to retrieve collection item by its index (0)."}},
    {"success without an element",
     [](played_dom& dom) { dom.child.query_gives_nothing = true; },
     {" Error code: 0x00000000", "Failed to convert XMLDOMNode to XMLDOMElement."},
     {" Error code: 0x00000000", "XML node does not support IXMLDOMElement interface."}},
    {"no name",
     [](played_dom& dom) { dom.name = E_OUTOFMEMORY; },
     {},
     {" Error code: 0x8007000E", "Failed to retrieve node name."}},
    {"no element",
     [](played_dom& dom) { dom.child.query_result = E_NOINTERFACE; },
     {" Error code: 0x80004002", "Failed to convert XMLDOMNode to XMLDOMElement."},
     {" Error code: 0x80004002", "XML node does not support IXMLDOMElement interface."}},
    {"an element with S_FALSE, which only the search accepts",
     [](played_dom& dom) { dom.child.query_result = S_FALSE; },
     {" Error code: 0x00000001", "Failed to convert XMLDOMNode to XMLDOMElement."},
     {}},
};

class XmlChildren : public com_thread, public ::testing::WithParamInterface<failure_t> {
protected:
    template <class Step>
    static lines_t lines_of(Step step) {
        try {
            step();
            return {};
        } catch (const exc::runtime_exc_t& error) {
            return error.lines();
        }
    }
    static lines_t beneath(const char* first, lines_t lines) {
        if (!lines.empty())
            lines.insert(lines.begin(), first);
        return lines;
    }
};

TEST_P(XmlChildren, FailEachWithItsText) {
    played_dom dom;
    GetParam().play(dom);
    const auto node = pointer_to<IXMLDOMNode>(dom.node);
    std::vector<xml::xml_element_ptr> found;
    EXPECT_EQ(lines_of([&] { xml::get_child_elements(node, found); }),
              beneath("Failed to retrieve children of the XML node.", GetParam().walk));
    EXPECT_EQ(lines_of([&] { xml::find_children_by_tag(node, L"Tag", xml::all_children, found); }),
              beneath("Failed to enumerate child nodes having the specified tag 'Tag'.", GetParam().search));
}
INSTANTIATE_TEST_SUITE_P(Xml, XmlChildren, ::testing::ValuesIn(failures));

class XmlFailures : public com_thread {};

TEST_F(XmlFailures, AreNamedWithTheirIndexAndANullNameMatchesTheEmptyTag) {
    played_dom dom;
    dom.named = false;
    dom.length = 3;
    int steps = 0;
    dom.list[list_next] = [&](void* out, auto...) { return played_dom::hand_out(++steps < 3 ? S_OK : E_FAIL, dom.child, out); };
    std::vector<xml::xml_element_ptr> found;
    try {
        xml::find_children_by_tag(pointer_to<IXMLDOMNode>(dom.node), L"", xml::all_children, found);
        FAIL() << "the third child fails";
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_EQ(error.lines().back(), "Failed to retrieve collection item by its index (2).");
    }
    EXPECT_EQ(found.size(), 2u);

    steps = 1;  // so that the second child fails, at which a search for one does not look
    EXPECT_TRUE(xml::get_child_by_tag(pointer_to<IXMLDOMNode>(dom.node), L""));
    EXPECT_EQ(steps, 2);
}

TEST_F(XmlFailures, OfAnAttributeAreAnyResultButZeroAndAnyTypeButText) {
    played_object played;
    const auto element = pointer_to<IXMLDOMElement>(played);
    for (const auto& [result, line] :
         {std::pair(S_FALSE, " Error code: 0x00000001"), std::pair(E_FAIL, " Error code: 0x80004005")}) {
        played[element_attribute] = [&](auto...) { return result; };
        try {
            xml::get_attribute(element, L"Size");
            FAIL() << line;
        } catch (const exc::com_exc_t& error) {
            EXPECT_EQ(error.lines(), (lines_t{line, "Failed to get value of the attribute 'Size'."}));
        }
    }
    played[element_attribute] = [](void*, void* value, auto...) {
        static_cast<VARIANT*>(value)->vt = VT_I4;
        return S_OK;
    };
    try {
        xml::get_attribute(element, L"Size");
        FAIL() << "a number is no text";
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_STREQ(error.what(), "Unexpected type (3) of the XML attribute (Size). Expected: 'VT_BSTR'.");
    }
    played[element_attribute] = [](void*, void* value, auto...) {
        static_cast<VARIANT*>(value)->vt = VT_BSTR;
        static_cast<VARIANT*>(value)->bstrVal = nullptr;
        return S_OK;
    };
    EXPECT_EQ(xml::get_attribute(element, L"Size"), L"");
    played[element_attribute] = [](void*, void* value, auto...) {
        static_cast<VARIANT*>(value)->vt = VT_BSTR;
        static_cast<VARIANT*>(value)->bstrVal = ::SysAllocStringLen(L"before\0behind", 13);
        return S_OK;
    };
    EXPECT_EQ(xml::get_attribute(element, L"Size"), L"before");
}

TEST_F(XmlFailures, OfTheQueriesForANodeAreNegativeResultsOnly) {
    played_object object;
    object.query_result = S_FALSE;
    EXPECT_TRUE(xml::document_to_node(pointer_to<IXMLDOMDocument>(object)));
    EXPECT_TRUE(xml::element_to_node(pointer_to<IXMLDOMElement>(object)));
    object.query_result = E_NOINTERFACE;
    try {
        xml::document_to_node(pointer_to<IXMLDOMDocument>(object));
        FAIL();
    } catch (const exc::com_exc_t& error) {
        EXPECT_EQ(error.lines().back(), "Failed to convert IXMLDOMDocument to IXMLDOMNode");
    }
    try {
        xml::element_to_node(pointer_to<IXMLDOMElement>(object));
        FAIL();
    } catch (const exc::com_exc_t& error) {
        EXPECT_EQ(error.lines().back(), "The given DOM element does not support IXMLDOMNode interface.");
    }
}

// A class object registered in the process is found before the platform's own.
class played_document_class {
public:
    played_document_class() {
        factory_[factory_create] = [this](void*, void*, void* out) { return played_dom::hand_out(created, document, out); };
        document[document_validate] = [this](void* on, auto...) {
            validate_on = static_cast<VARIANT_BOOL>(reinterpret_cast<std::uintptr_t>(on));
            return validated;
        };
        document[document_load] = [this](void*, void* successful, auto...) {
            *static_cast<VARIANT_BOOL*>(successful) = well_formed ? VARIANT_TRUE : VARIANT_FALSE;
            return loaded;
        };
        EXPECT_EQ(::CoRegisterClassObject(CLSID_DOMDocument, factory_.as<IUnknown>(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                          &cookie_),
                  S_OK);
    }
    ~played_document_class() { ::CoRevokeClassObject(cookie_); }

    HRESULT created = S_OK, validated = S_OK, loaded = S_OK;
    bool well_formed = true;
    VARIANT_BOOL validate_on = 77;
    played_object document;

private:
    played_object factory_;
    DWORD cookie_ = 0;
};

TEST_F(XmlFailures, OfALoadAreEachToldApart) {
    struct row_t {
        const char* name;
        void (*play)(played_document_class&);
        lines_t lines;
    };
    const row_t rows[] = {
        {"nothing fails", [](played_document_class&) {}, {}},
        {"S_FALSE of the load", [](played_document_class& played) { played.loaded = S_FALSE; }, {}},
        {"a negative result",
         [](played_document_class& played) { played.loaded = E_FAIL; },
         {" Error code: 0x80004005", "Failed to load XML document '<\xd0\xb4/>'."}},
        {"S_OK without success",
         [](played_document_class& played) { played.well_formed = false; },
         {" Error code: 0x00000000", "Failed to load XML document '<\xd0\xb4/>'."}},
        {"S_FALSE of the switch",
         [](played_document_class& played) { played.validated = S_FALSE; },
         {" Error code: 0x00000001", "Failed to disable document validation."}},
        {"no object",
         [](played_document_class& played) { played.created = REGDB_E_CLASSNOTREG; },
         {" Error code: 0x80040154", "Failed to create instance of DOMDocument"}},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.name);
        played_document_class played;
        row.play(played);
        lines_t lines;
        try {
            xml::load_document(L"<д/>", true);
            EXPECT_EQ(played.validate_on, VARIANT_TRUE);
            xml::load_document(L"<д/>", false);
            EXPECT_EQ(played.validate_on, VARIANT_FALSE);
        } catch (const exc::com_exc_t& error) {
            lines = error.lines();
        }
        EXPECT_EQ(lines, row.lines);
    }
}

TEST_F(XmlFailures, ArePassedOnForANullText) {
    played_document_class played;
    BSTR loaded = nullptr;
    played.document[document_load] = [&](void* text, auto...) {
        loaded = static_cast<BSTR>(text);
        return E_INVALIDARG;
    };
    EXPECT_THROW(xml::load_document({}, false), exc::com_exc_t);
    EXPECT_EQ(loaded, nullptr) << "no text and an empty text are told apart";
    EXPECT_THROW(xml::load_document(L"", false), exc::com_exc_t);
    EXPECT_NE(loaded, nullptr);
}

}  // namespace
