#include <kq/xml/dom.h>

#include "support/file_bytes.h"
#include "support/scratch_folder.h"
#include "support/temporary_folder.h"
#include "support/thrown.h"
#include "xml/dom_fixture.h"
#include "xml/raw_dom.h"

#include <string>

using boost::filesystem::path;
using namespace kq_test;
using kq::xml::DomDocument;
using kq::xml::GetChildTextNodeValue;

namespace {

constexpr char saveFailure[] = "Failed to save XML file!";

class DomFilesTest : public DomTest {
protected:
    // The text of the document element of a file of those bytes.
    std::wstring TextOf(const std::string& bytes) const {
        WriteBytes(file_.native(), bytes);
        return GetChildTextNodeValue(*DomDocument::CreateFromFile(file_)->GetDocumentElement());
    }

    static void ExpectNotLoaded(const path& file) {
        const std::string text =
            ThrownText<std::runtime_error>([&] { DomDocument::CreateFromFile(file); });
        EXPECT_EQ(text.substr(0, 26), "Failed to load XML file!: ") << text;
        EXPECT_NE(text.find(" in line "), std::string::npos) << text;
        EXPECT_NE(text.find(" at character "), std::string::npos) << text;
    }

    static std::string SaveFailureOf(const DomDocument& document, const path& file) {
        return ThrownText<std::runtime_error>([&] { document.SaveFile(file); });
    }

    const ScratchFolder folder_;
    const path file_ = folder_ / L"document.xml";
};

// UTF-16 in one of the two orders, with a byte-order mark.
std::string Utf16(const std::wstring& text, bool bigEndian) {
    std::wstring units = L"\ufeff";
    units += text;
    std::string bytes;
    for (const wchar_t unit : units) {
        const char low = static_cast<char>(unit & 0xff);
        const char high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

TEST_F(DomFilesTest, AreReadAsUtf8) {
    const std::string root = "<a>\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80</a>";
    const std::string utf8 = "<?xml version='1.0' encoding='utf-8'?>";
    const std::string mark = "\xef\xbb\xbf";
    for (const std::string& bytes : {root, utf8 + root, mark + root, mark + utf8 + root})
        EXPECT_EQ(TextOf(bytes), L"\u00e4\u20ac\U0001f600");
}

TEST_F(DomFilesTest, AreReadAsUtf16) {
    const std::wstring root = L"<a>\u00e4\u20ac\U0001f600</a>";
    for (const bool bigEndian : {false, true}) {
        EXPECT_EQ(TextOf(Utf16(root, bigEndian)), L"\u00e4\u20ac\U0001f600");
        EXPECT_EQ(TextOf(Utf16(L"<?xml version='1.0' encoding='utf-16'?>" + root, bigEndian)),
                  L"\u00e4\u20ac\U0001f600");
    }
}

TEST_F(DomFilesTest, AreReadAsDeclared) {
    EXPECT_EQ(TextOf("<?xml version='1.0' encoding='iso-8859-1'?><a>\xe4</a>"), L"\u00e4");
    EXPECT_EQ(TextOf("<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>"), L"\u20ac");
}

TEST_F(DomFilesTest, AreWrittenAsDeclared) {
    const std::string bytes = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a>\xe4</a>";
    WriteBytes(file_.native(), bytes);
    const path other = folder_ / L"raw.xml";
    const auto raw = raw_dom::CreateDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    raw->load(_variant_t(file_.c_str()), &loaded);
    raw->save(_variant_t(other.c_str()));
    if (ReadBytes(other.native()).find('\xe4') == std::string::npos)
        GTEST_SKIP() << "this platform writes UTF-8 whatever is declared; Windows does not";
    EXPECT_EQ(TextOf(bytes), L"\u00e4");
    DomDocument::CreateFromFile(file_)->SaveFile(other);
    EXPECT_EQ(TextOf(ReadBytes(other.native())), L"\u00e4");
}

TEST_F(DomFilesTest, ThatAreNoDocumentsAreRefused) {
    for (const char* const bytes : {"", " ", "\xef\xbb\xbf", "text", "<a>", "<a>\xff\xfe</a>",
                                    "<a>\xc3</a>", "<?xml version='1.0' encoding='no such'?><a/>",
                                    "<?xml version='1.0' encoding='utf-16'?><a/>", "PK\x03\x04"}) {
        WriteBytes(file_.native(), bytes);
        ExpectNotLoaded(file_);
    }
    WriteBytes(file_.native(), std::string(1'000, '\0'));
    ExpectNotLoaded(file_);
    std::string everything;
    for (int byte = 0; byte != 256; ++byte)
        everything += static_cast<char>(byte);
    WriteBytes(file_.native(), everything);
    ExpectNotLoaded(file_);
}

TEST_F(DomFilesTest, ThatAreNotThereAreRefused) {
    ExpectNotLoaded(folder_ / L"missing.xml");
    ExpectNotLoaded(folder_ / L"missing" / L"missing.xml");
    ExpectNotLoaded(folder_.Path());
    ExpectNotLoaded(path());
}

TEST_F(DomFilesTest, ThatFailLeaveAnObjectThatLoadsAgain) {
    WriteBytes(file_.native(), "<a>good</a>");
    const auto document = Parse(L"<before/>");
    EXPECT_THROW(document->LoadFile(folder_ / L"missing.xml"), std::runtime_error);
    document->LoadFile(file_);
    EXPECT_EQ(GetChildTextNodeValue(*document->GetDocumentElement()), L"good");
}

TEST_F(DomFilesTest, ThatFailMayLeaveNothingToSave) {
    WriteBytes(file_.native(), "<a>");
    const auto document = Parse(L"<before/>");
    EXPECT_THROW(document->LoadFile(file_), std::runtime_error);
    if (document->HasChildNodes())
        GTEST_SKIP() << "this platform keeps a document whose replacement fails";
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { document->SaveText(); }),
              "Failed to get stream memory!");
}

TEST_F(DomFilesTest, AreSavedAndReplaced) {
    const auto document = Parse(std::wstring(declaration) + L"<a>first</a>");
    document->SaveFile(file_);
    EXPECT_NE(ReadBytes(file_.native()).find("<a>first</a>"), std::string::npos);
    document->GetDocumentElement()->GetChildNode(L"text()")->SetValue(L"2");
    document->SaveFile(file_);
    const std::string bytes = ReadBytes(file_.native());
    EXPECT_NE(bytes.find("<a>2</a>"), std::string::npos);
    EXPECT_EQ(bytes.find("first"), std::string::npos);
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(DomFilesTest, AreSavedWhereTheyWereLoaded) {
    WriteBytes(file_.native(), "<a>1</a>");
    const auto document = DomDocument::CreateFromFile(file_);
    document->GetDocumentElement()->SetAttribute(L"b", L"2");
    document->SaveFile(file_);
    EXPECT_EQ(DomDocument::CreateFromFile(file_)->GetDocumentElement()->GetAttribute(L"b"), L"2");
}

TEST_F(DomFilesTest, CannotBeSavedEverywhere) {
    const auto document = Parse(L"<a/>");
    EXPECT_EQ(SaveFailureOf(*document, folder_.Path()), saveFailure);
    EXPECT_EQ(SaveFailureOf(*document, folder_ / L"missing" / L"a.xml"), saveFailure);
    EXPECT_EQ(SaveFailureOf(*document, folder_ / L"a?.xml"), saveFailure);
    EXPECT_EQ(SaveFailureOf(*document, path()), saveFailure);
    EXPECT_EQ(folder_.Entries(), 0);
}

TEST_F(DomFilesTest, ThatAreReadOnlyStayAsTheyAre) {
    WriteBytes(file_.native(), "<old/>");
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(SaveFailureOf(*Parse(L"<new/>"), file_), saveFailure);
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(file_.native()), "<old/>");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(DomFilesTest, HaveNamesInAnyLanguage) {
    for (const wchar_t* const name : {L"a b.xml", L"a#b.xml", L"\u00e4\u4e2d\U0001f600.xml",
                                      L"a&b+c;d.xml", L"[a]'(b)'.xml", L"no extension"}) {
        const path file = folder_ / name;
        Parse(L"<a>x</a>")->SaveFile(file);
        const auto again = DomDocument::CreateFromFile(file);
        EXPECT_EQ(GetChildTextNodeValue(*again->GetDocumentElement()), L"x");
    }
    EXPECT_EQ(folder_.Entries(), 6);
}

TEST_F(DomFilesTest, HaveNamesWithPercentSigns) {
    const path file = folder_ / L"a%20b.xml";
    Parse(L"<a>x</a>")->SaveFile(file);
    const auto raw = raw_dom::CreateDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    raw->load(_variant_t(file.c_str()), &loaded);
    if (loaded == VARIANT_FALSE)
        GTEST_SKIP() << "this platform takes the name for a part of an address";
    EXPECT_EQ(GetChildTextNodeValue(*DomDocument::CreateFromFile(file)->GetDocumentElement()),
              L"x");
}

TEST_F(DomFilesTest, HaveLongPaths) {
    constexpr std::size_t length = 400;
    TemporaryFolder folder;
    WriteBytes(file_.native(), "<a>x</a>");
    const path file = folder.CopyIn(file_.native(), length, L".xml");
    Parse(L"<a>longer than before</a>")->SaveFile(file);
    EXPECT_NE(ReadBytes(file.native()).find("<a>longer than before</a>"), std::string::npos);
    const auto raw = raw_dom::CreateDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    raw->load(_variant_t(file.c_str()), &loaded);
    if (loaded == VARIANT_FALSE) {
        ExpectNotLoaded(file);
        GTEST_SKIP() << "this platform loads no path of that length";
    }
    EXPECT_EQ(GetChildTextNodeValue(*DomDocument::CreateFromFile(file)->GetDocumentElement()),
              L"longer than before");
}

} // namespace
