// The items list: how its time grows, and how it stands beside a bare walk over the same document.
#include <windows.h>

#include <msxml.h>

#include <cstdlib>
#include <string>

#include "bench/harness.h"
#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/xml/items_list.h"

namespace {

std::wstring list_of(int count) {
    std::wstring list = L"<FilesList>";
    for (int i = 0; i < count; ++i) {
        const std::wstring name = L"disk " + std::to_wstring(i) + L".vhdx";
        list += LR"(<Item Path="C:\ClusterStorage\Volume1\vm\" Mask=")" + name + LR"(" Recursive="false" RelativePath=")" +
                name + LR"(" FullPath="\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy1\vm\)" + name + L"\"/>";
    }
    return list + L"</FilesList>";
}

void check(HRESULT result) {
    if (result != S_OK)
        std::abort();
}

// What nobody can do without: load, step the children, ask each for its attributes. Keeps nothing.
void walk(const std::wstring& text, int count) {
    win::com_ptr<IXMLDOMDocument> document;
    check(::CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument,
                             reinterpret_cast<void**>(document.put())));
    check(document->put_validateOnParse(VARIANT_FALSE));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    check(document->loadXML(win::make_bstr(text).get(), &loaded));
    win::com_ptr<IXMLDOMElement> root;
    check(document->get_documentElement(root.put()));
    win::com_ptr<IXMLDOMNodeList> children;
    check(root->get_childNodes(children.put()));

    const win::unique_bstr names[] = {win::make_bstr(L"Recursive"), win::make_bstr(L"Path"), win::make_bstr(L"Mask"),
                                      win::make_bstr(L"FullPath"), win::make_bstr(L"RelativePath")};
    int walked = 0;
    win::com_ptr<IXMLDOMNode> child;
    for (; children->nextNode(child.put()) == S_OK; ++walked) {
        win::com_ptr<IXMLDOMElement> element;
        check(child.query(element, IID_IXMLDOMElement));
        for (const win::unique_bstr& name : names) {
            win::unique_variant value;
            check(element->getAttribute(name.get(), value.get()));
        }
    }
    if (walked != count)
        std::abort();
}

void read(const std::wstring& text, int count) {
    xml::file_items_t items;
    xml::parse_items_list(text, items);
    if (items.size() != static_cast<std::size_t>(count))
        std::abort();
}

}  // namespace

int main(int argc, char** argv) {
    ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    constexpr int small = 10'000, large = 100'000;
    const std::wstring small_list = list_of(small), large_list = list_of(large);

    bench::bench_t bench("xml", argc, argv);
    const auto growth = bench.compare(
        "items list, two sizes", large, "items",
        {{"100,000 items", [&] { read(large_list, large); }}, {"10,000 items", [&] { read(small_list, small); }}}, 5);
    bench.aim_at_most("time of 100,000 to 10,000 items", growth.time_ratio("100,000 items", "10,000 items"), 13);
    const auto beside =
        bench.compare("items list beside a bare walk", large, "items",
                      {{"items list", [&] { read(large_list, large); }}, {"bare walk", [&] { walk(large_list, large); }}}, 5);
    bench.aim("items list to bare walk", beside.rate_ratio("items list", "bare walk"), 0.7);
    return bench.finish();
}
