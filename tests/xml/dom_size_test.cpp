#include <kq/xml/dom.h>

#include "support/file_bytes.h"
#include "support/heap_level.h"
#include "support/scratch_folder.h"
#include "xml/dom_fixture.h"

#include <string>

using namespace kq_test;
using kq::dynamic_reference_cast;
using kq::xml::AddChildElement;
using kq::xml::AddChildTextNode;
using kq::xml::DomDocument;
using kq::xml::DomElement;

namespace {

class DomSizeTest : public DomTest {};

TEST_F(DomSizeTest, OfFiftyMegabytes) {
    constexpr std::size_t entries = 500;
    constexpr std::size_t size = 100'000;
    const auto document = DomDocument::Create();
    const Element root = AddChildElement(*document, L"log", L"");
    for (std::size_t index = 0; index != entries; ++index)
        AddChildTextNode(*AddChildElement(*root, L"entry"))->SetValue(std::wstring(size, L'x'));
    EXPECT_EQ(root->GetChildNodes(L"entry").size(), entries);
    const ScratchFolder folder;
    const auto file = folder / L"large.xml";
    document->SaveFile(file);
    AddChildElement(*root, L"last");
    document->SaveFile(file);
    const std::string bytes = ReadBytes(file.native());
    EXPECT_GT(bytes.size(), entries * size);
    EXPECT_NE(bytes.find("x</entry><last/></log>", entries * size), std::string::npos);
}

// Smaller than what is saved: Wine takes time in the square of the size of a file that is loaded,
// and of a text that is saved.
TEST_F(DomSizeTest, OfFilesOfTenMegabytes) {
    constexpr std::size_t size = 10'000'000;
    std::string bytes = "<log>";
    std::size_t entries = 0;
    while (bytes.size() < size)
        bytes += "<entry number='" + std::to_string(entries++) + "'>" + std::string(1'000, 'x') +
                 "</entry>";
    const ScratchFolder folder;
    const auto file = folder / L"large.xml";
    WriteBytes(file.native(), bytes + "</log>");
    const auto document = DomDocument::CreateFromFile(file);
    EXPECT_EQ(document->GetDocumentElement()->GetChildNodes().size(), entries);
    EXPECT_GT(document->SaveText().size(), size);
}

TEST_F(DomSizeTest, OfAHundredThousandSiblings) {
    constexpr std::size_t count = 100'000;
    const auto document = DomDocument::Create();
    const Element root = AddChildElement(*document, L"root", L"");
    for (std::size_t index = 0; index != count; ++index)
        AddChildElement(*root, L"child", L"");
    const auto children = root->GetChildNodes();
    ASSERT_EQ(children.size(), count);
    for (std::size_t index = 0; index != count; ++index)
        dynamic_reference_cast<DomElement>(children[index])
            ->SetAttribute(L"n", std::to_wstring(index));
    const auto again = Parse(document->SaveText())->GetDocumentElement();
    const auto selected = again->GetChildNodes(L"child");
    ASSERT_EQ(selected.size(), count);
    for (std::size_t index = 0; index != count; ++index)
        ASSERT_EQ(dynamic_reference_cast<DomElement>(selected[index])->GetAttribute(L"n"),
                  std::to_wstring(index));
}

TEST_F(DomSizeTest, OfTwoHundredLevels) {
    constexpr int depth = 200;
    const auto document = DomDocument::Create();
    Element innermost = AddChildElement(*document, L"level", L"");
    for (int level = 1; level != depth; ++level)
        innermost = AddChildElement(*innermost, L"level", L"");
    AddChildTextNode(*innermost)->SetValue(L"bottom");
    const auto again = Parse(document->SaveText());
    EXPECT_EQ(again->GetChildNodes(L"//level").size(), std::size_t{depth});
    EXPECT_EQ(again->GetChildNode(L"//level[not(level)]/text()")->GetValue(), L"bottom");
}

TEST_F(DomSizeTest, OfATextOfFourMillionCharacters) {
    const std::wstring text(4'000'000, L'\u00e4');
    const auto document = DomDocument::Create();
    AddChildTextNode(*AddChildElement(*document, L"a", L""))->SetValue(text);
    const auto again = Parse(document->SaveText());
    EXPECT_EQ(kq::xml::GetChildTextNodeValue(*again->GetDocumentElement()), text);
}

TEST_F(DomSizeTest, OfAThousandAttributes) {
    constexpr std::size_t count = 1'000;
    const auto document = DomDocument::Create();
    const Element root = AddChildElement(*document, L"a", L"");
    for (std::size_t index = 0; index != count; ++index)
        root->SetAttribute(L"n" + std::to_wstring(index), std::to_wstring(index));
    const auto attributes = Parse(document->SaveText())->GetDocumentElement()->GetAttributes();
    ASSERT_EQ(attributes.size(), count);
    for (std::size_t index = 0; index != count; ++index)
        EXPECT_EQ(attributes.at(L"n" + std::to_wstring(index))->GetValue(), std::to_wstring(index));
}

// Everything that makes and drops objects, also on the ways that fail.
void UseEverything() {
    const auto document = DomDocument::Create();
    const Element root = AddChildElement(*document, L"root", L"urn:a");
    root->SetAttribute(L"a", L"1");
    AddChildTextNode(*root)->SetValue(L"text");
    root->RemoveChildNode(root->AddChildNode(document->CreateElement(L"gone")));
    root->GetChildNodes();
    root->GetChildNodes(L"//node()");
    root->HasAttribute(L"b");
    EXPECT_THROW(root->GetAttribute(L"b"), std::logic_error);
    EXPECT_THROW(root->GetChildNode(L"b"), std::logic_error);
    EXPECT_THROW(root->GetChildNode(L"["), std::runtime_error);
    EXPECT_THROW(root->GetValue(), std::logic_error);
    EXPECT_THROW(root->RemoveChildNode(document->CreateElement(L"other", L"")), std::logic_error);
    // Not `document`: Wine keeps something of each declaration that it saves.
    Parse(L"<a/>")->SaveText();
    Parse(L"<a b='1' c='2'/>")->GetDocumentElement()->GetAttributes();
    EXPECT_THROW(document->LoadText(L"<a>"), std::runtime_error);
}

TEST_F(DomSizeTest, DoesNotGrowWithUse) {
    for (int round = 0; round != 10; ++round)
        UseEverything();
    const auto before = HeapLevel();
    for (int round = 0; round != 300; ++round)
        UseEverything();
    EXPECT_LT(HeapLevel(), before + 150);
}

} // namespace
