#include "foundation/xml/document.h"
#include "foundation/xml/items_list.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/thrown.h"

namespace {

using lines_t = std::vector<std::string>;

class Xml : public com_thread {};
class ItemsList : public com_thread {};

xml::xml_node_ptr root_of(std::wstring_view text, std::wstring_view tag) {
    return xml::element_to_node(xml::get_child_by_tag(xml::document_to_node(xml::load_document(text, false)), tag));
}

TEST_F(Xml, FindsChildrenInAnyCaseUpToTheCountThatTheVectorMayHold) {
    const xml::xml_node_ptr root = root_of(L"<Root><a n='1'/><b n='2'/><!-- between --><A n='3'/><a n='4'/></Root>", L"rOOT");
    std::vector<xml::xml_element_ptr> found;
    xml::find_children_by_tag(root, L"A", 2, found);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(xml::get_attribute(found[0], L"n"), L"1");
    EXPECT_EQ(xml::get_attribute(found[1], L"n"), L"3");
    xml::find_children_by_tag(root, L"b", 2, found);
    EXPECT_EQ(found.size(), 2u) << "what the vector held counts";
    xml::find_children_by_tag(root, L"a", xml::all_children, found);
    EXPECT_EQ(found.size(), 5u);
    EXPECT_EQ(xml::get_attribute(xml::get_child_by_tag(root, L"A"), L"n"), L"1");
}

TEST_F(Xml, ReadsAttributesByTheirExactName) {
    const auto element =
        xml::get_child_by_tag(xml::document_to_node(xml::load_document(L"<r Path='' Name='д中😀'/>", false)), L"r");
    EXPECT_EQ(xml::get_attribute(element, L"Path"), L"");
    EXPECT_EQ(xml::get_attribute(element, L"Name"), L"д中😀");
    EXPECT_EQ(thrown([&] { xml::get_attribute(element, L"name"); }),
              (lines_t{" Error code: 0x00000001", "Failed to get value of the attribute 'name'."}))
        << "an attribute name is exact";
}

TEST_F(ItemsList, IsReadWholeAndInOrder) {
    xml::file_items_t items(1);
    xml::parse_items_list(
        LR"(<?xml version="1.0"?>
        <fileslist>
            <Item Path="C:\vm" Mask="*.vhd" Recursive="TrUe" RelativePath="vm\" FullPath="C:\vm\д.vhd"/>
            <Any FullPath="C:\中😀&amp;.vhd" Recursive="1" Path="" Mask="" RelativePath="" Other="x"/>
        </fileslist>)",
        items);
    ASSERT_EQ(items.size(), 3u) << "items are appended";
    EXPECT_EQ(items[1].path, L"C:\\vm");
    EXPECT_EQ(items[1].mask, L"*.vhd");
    EXPECT_TRUE(items[1].recursive);
    EXPECT_EQ(items[1].relative_path, L"vm\\");
    EXPECT_EQ(items[1].full_path, L"C:\\vm\\д.vhd");
    EXPECT_EQ(items[2].full_path, L"C:\\中😀&.vhd");
    EXPECT_FALSE(items[2].recursive) << "only the word counts";
    xml::parse_items_list(L"<FilesList/>", items);
    EXPECT_EQ(items.size(), 3u);
}

TEST_F(ItemsList, FailsWithItsCauses) {
    const std::pair<const wchar_t*, lines_t> lists[] = {
        {L"<FilesList><д>", {" Error code: 0x00000001", "Failed to load XML document '<FilesList><д>'."}},
        {L"", {" Error code: 0x00000001", "Failed to load XML document ''."}},
        {L"<Files><FilesList/></Files>", {"There is no child node with the specified name 'FilesList'."}},
        {L"<FilesList><!-- no item --></FilesList>",
         {"Failed to retrieve children of the XML node.", " Error code: 0x80004002",
          "Failed to convert XMLDOMNode to XMLDOMElement."}},
        // The order in which the attributes are read.
        {L"<FilesList><i/></FilesList>", {" Error code: 0x00000001", "Failed to get value of the attribute 'Recursive'."}},
        {L"<FilesList><i Recursive='true' Path=''/></FilesList>",
         {" Error code: 0x00000001", "Failed to get value of the attribute 'Mask'."}},
        {L"<FilesList><i Recursive='true' Path='' Mask='' FullPath=''/></FilesList>",
         {" Error code: 0x00000001", "Failed to get value of the attribute 'RelativePath'."}},
    };
    for (const auto& [text, causes] : lists) {
        xml::file_items_t items;
        lines_t lines = thrown([&, text = text] { xml::parse_items_list(text, items); });
        EXPECT_EQ(lines.front(), "Failed to de-serialize XML to the items list.");
        lines.erase(lines.begin());
        EXPECT_EQ(lines, causes);
    }
}

}  // namespace
