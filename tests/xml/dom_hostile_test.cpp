#include <winsock2.h>

#include <windows.h>

#include <kq/xml/dom.h>

#include "support/file_bytes.h"
#include "support/scratch_folder.h"
#include "xml/dom_fixture.h"
#include "xml/raw_dom.h"

#include <psapi.h>

#include <optional>
#include <string>

using namespace kq_test;
using kq::xml::DomDocument;

namespace {

constexpr wchar_t secret[] = L"TheSecretOfTheOtherFile";

std::wstring Url(const boost::filesystem::path& file) {
    return L"file:///" + file.generic_wstring();
}

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// The document, or nothing where the platform refuses it, which is just as well.
std::optional<Document> TryParse(const std::wstring& text) {
    try {
        return Parse(text);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

std::size_t MemoryInUse() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.PeakWorkingSetSize;
}

// All values below `node`. Some platforms fail for document types and entities instead of saying
// that there is nothing.
std::wstring ValuesBelow(const kq::xml::DomNode& node) {
    std::wstring values;
    try {
        if (node.HasValue())
            values = node.GetValue();
        for (const Node& child : node.GetChildNodes())
            values += ValuesBelow(*child);
    } catch (const std::runtime_error&) {
        // Nothing, then.
    }
    return values;
}

class DomHostileTest : public DomTest {
protected:
    DomHostileTest() {
        WriteBytes(secretFile_.native(), Narrow(secret));
        WriteBytes(definitions_.native(), "<!ENTITY x \"" + Narrow(secret) +
                                              "\"><!ATTLIST a d CDATA \"" + Narrow(secret) + "\">");
    }

    // Loads `text` as a text and as a file beside the others, and expects nothing of them in it.
    void ExpectNoSecret(const std::wstring& text) {
        const auto file = folder_ / L"document.xml";
        WriteBytes(file.native(), Narrow(text));
        const auto expectNone = [](const Document& document) {
            EXPECT_EQ(ValuesBelow(*document).find(secret), std::wstring::npos);
            EXPECT_EQ(document->SaveText().find(secret), std::wstring::npos);
            EXPECT_FALSE(document->HasChildNode(std::wstring(L"//*[contains(., '") + secret +
                                                L"')] | //@*[contains(., '" + secret + L"')]"));
        };
        if (const auto document = TryParse(text))
            expectNone(*document);
        try {
            expectNone(DomDocument::CreateFromFile(file));
        } catch (const std::runtime_error&) {
            // Refused.
        }
    }

    const ScratchFolder folder_;
    const boost::filesystem::path secretFile_ = folder_ / L"secret.txt";
    const boost::filesystem::path definitions_ = folder_ / L"definitions.dtd";
};

TEST_F(DomHostileTest, IsRefusedForItsDocumentType) {
    const auto platform = raw_dom::CreateDocument();
    if (raw_dom::Load(platform, L"<!DOCTYPE a><a/>"))
        GTEST_SKIP() << "this platform does not prohibit document types; Windows does";
    EXPECT_FALSE(TryParse(L"<!DOCTYPE a><a/>"));
    EXPECT_FALSE(TryParse(L"<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>"));
}

TEST_F(DomHostileTest, ReadsNoFileForAnEntity) {
    ExpectNoSecret(L"<!DOCTYPE a [<!ENTITY x SYSTEM '" + Url(secretFile_) + L"'>]><a>&x;</a>");
    ExpectNoSecret(L"<!DOCTYPE a [<!ENTITY x SYSTEM 'secret.txt'>]><a>&x;</a>");
    ExpectNoSecret(L"<!DOCTYPE a [<!ENTITY x PUBLIC 'p' 'secret.txt'>]><a>&x;</a>");
}

TEST_F(DomHostileTest, ReadsNoFileForADefinition) {
    ExpectNoSecret(L"<!DOCTYPE a SYSTEM '" + Url(definitions_) + L"'><a>&x;</a>");
    ExpectNoSecret(L"<!DOCTYPE a SYSTEM 'definitions.dtd'><a>&x;</a>");
    ExpectNoSecret(L"<!DOCTYPE a SYSTEM 'definitions.dtd'><a/>");
    ExpectNoSecret(L"<!DOCTYPE a [<!ENTITY % p SYSTEM 'definitions.dtd'> %p;]><a>&x;</a>");
}

TEST_F(DomHostileTest, ReadsNoFileForAnInclusion) {
    ExpectNoSecret(
        L"<a xmlns:xi='http://www.w3.org/2001/XInclude'>"
        L"<xi:include href='secret.txt' parse='text'/></a>");
    ExpectNoSecret(L"<?xml-stylesheet type='text/xsl' href='secret.txt'?><a/>");
    ExpectNoSecret(
        L"<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
        L"xsi:noNamespaceSchemaLocation='secret.txt'/>");
}

// Listens on an address of this machine.
class Listener {
public:
    Listener() {
        WSADATA data{};
        WSAStartup(MAKEWORD(2, 2), &data);
        socket_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof(address);
        if (bind(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            listen(socket_, 10) != 0 ||
            getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            throw std::runtime_error("the test cannot listen");
        port_ = ntohs(address.sin_port);
        u_long noWaiting = 1;
        ioctlsocket(socket_, static_cast<long>(FIONBIO), &noWaiting);
    }
    ~Listener() {
        closesocket(socket_);
        WSACleanup();
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::wstring Url() const { return L"http://127.0.0.1:" + std::to_wstring(port_) + L"/x"; }

    bool WasCalled() const {
        const SOCKET caller = accept(socket_, nullptr, nullptr);
        if (caller == INVALID_SOCKET)
            return false;
        closesocket(caller);
        return true;
    }

    bool Call() const {
        const SOCKET caller = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port_);
        const int result = connect(caller, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        closesocket(caller);
        return result == 0;
    }

private:
    SOCKET socket_ = INVALID_SOCKET;
    u_short port_ = 0;
};

TEST_F(DomHostileTest, ReachesNoNetwork) {
    const Listener listener;
    TryParse(L"<!DOCTYPE a [<!ENTITY x SYSTEM '" + listener.Url() + L"'>]><a>&x;</a>");
    TryParse(L"<!DOCTYPE a SYSTEM '" + listener.Url() + L"'><a>&x;</a>");
    TryParse(L"<!DOCTYPE a PUBLIC 'p' '" + listener.Url() + L"'><a/>");
    TryParse(L"<!DOCTYPE a [<!ENTITY % p SYSTEM '" + listener.Url() + L"'> %p;]><a/>");
    TryParse(
        L"<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
        L"xsi:noNamespaceSchemaLocation='" +
        listener.Url() + L"'/>");
    EXPECT_FALSE(listener.WasCalled());
    // It would have been noticed.
    EXPECT_TRUE(listener.Call());
    EXPECT_TRUE(listener.WasCalled());
}

// 10 to the power of `depth` times "x".
std::wstring Laughs(int depth) {
    std::wstring text = L"<!DOCTYPE a [<!ENTITY l0 'x'>";
    for (int level = 1; level <= depth; ++level) {
        text += L"<!ENTITY l" + std::to_wstring(level) + L" '";
        for (int copy = 0; copy != 10; ++copy)
            text += L"&l" + std::to_wstring(level - 1) + L";";
        text += L"'>";
    }
    const std::wstring last = L"&l" + std::to_wstring(depth) + L";";
    return text + L"]><a b='" + last + L"'>" + last + L"</a>";
}

TEST_F(DomHostileTest, DoesNotGrowByNestedEntities) {
    constexpr std::size_t bound = 100'000'000;
    const std::size_t before = MemoryInUse();
    const auto document = TryParse(Laughs(10));
    if (document) {
        EXPECT_LT((*document)->SaveText().size(), 100'000u);
        ValuesBelow(**document);
    }
    EXPECT_LT(MemoryInUse(), before + bound);
}

TEST_F(DomHostileTest, DoesNotGrowByRepeatedEntities) {
    constexpr std::size_t bound = 100'000'000;
    std::wstring text = L"<!DOCTYPE a [<!ENTITY l '" + std::wstring(50'000, L'x') + L"'>]><a>";
    for (int copy = 0; copy != 10'000; ++copy)
        text += L"&l;";
    const std::size_t before = MemoryInUse();
    const auto document = TryParse(text + L"</a>");
    if (document) {
        EXPECT_LT((*document)->SaveText().size(), 1'000'000u);
        ValuesBelow(**document);
    }
    EXPECT_LT(MemoryInUse(), before + bound);
}

TEST_F(DomHostileTest, RefusesEntitiesThatContainThemselves) {
    const auto document = TryParse(L"<!DOCTYPE a [<!ENTITY x '&y;'><!ENTITY y '&x;'>]><a>&x;</a>");
    if (document) {
        EXPECT_LT((*document)->SaveText().size(), 1'000u);
    }
}

} // namespace
