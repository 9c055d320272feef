// Texts as XML documents: each is refused or is read, walked, asked, saved and read again.
#include <kq/com/com_usage.h>
#include <kq/converter/utf8.h>
#include <kq/xml/dom.h>

#include "fuzz/require.h"

#include <optional>
#include <string>

using kq::xml::DomDocument;
using kq::xml::DomElement;
using kq::xml::DomNode;
using kq_fuzz::Require;

namespace {

using Document = kq::shared_ref<DomDocument, boost::shared_ptr>;

/// Nothing for a text that is refused, as documented.
std::optional<Document> Parse(const std::wstring& text) {
    try {
        return DomDocument::CreateFromText(text);
    } catch (const std::runtime_error& error) {
        const std::string reason = error.what();
        Require(reason.rfind("Failed to load XML string!: ", 0) == 0, "the reason of a refusal");
        return std::nullopt;
    }
}

/// Calls `question`, which may fail as documented.
template <class Question>
void Ask(Question question) {
    try {
        question();
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        for (const char* const documented :
             {"Failed to get default namespace!", "Failed to get node value!",
              "Node value is not a string!", "Failed to get attributes!", "Failed to get item!",
              "Failed to get child node!", "Failed to get child nodes!"})
            if (text == documented)
                return;
        throw;
    }
}

/// Visits all nodes; returns how many there are. Platforms that take document types, or prefixes
/// that are not declared, fail for some of what is in them.
std::size_t Walk(const DomNode& node) {
    std::size_t count = 1;
    Require(!node.GetName().empty(), "a name");
    Ask([&node] { static_cast<void>(node.GetNamespaceURI()); });
    Ask([&node] {
        if (node.HasValue())
            static_cast<void>(node.GetValue());
    });
    Ask([&node, &count] {
        for (const auto& child : node.GetChildNodes())
            count += Walk(*child);
    });
    if (dynamic_cast<const DomElement*>(&node) != nullptr) {
        Require(node.HasChildNodes() == !node.GetChildNodes().empty(), "whether it has children");
        Ask([&node] {
            for (const auto& [name, attribute] : node.GetAttributes())
                Require(attribute->GetName() == name, "the name of an attribute");
        });
    }
    return count;
}

void Select(const DomNode& node, const std::wstring& xpath) {
    Ask([&] {
        const bool hasAny = node.HasChildNode(xpath);
        Require(node.GetChildNodes(xpath).empty() == !hasAny, "what a path selects");
    });
}

} // namespace

// What stands behind the first zero is a path to nodes.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const kq::com::ComUsage com;
    const std::string all(data, data + size);
    const std::size_t zero = all.find('\0');
    const std::wstring text = kq::converter::ConvertUtf8ToUcs2(all.substr(0, zero));
    const auto document = Parse(text);
    if (!document)
        return 0;
    const std::size_t count = Walk(**document);
    if (zero != std::string::npos)
        Select(**document, kq::converter::ConvertUtf8ToUcs2(all.substr(zero + 1)));
    const std::wstring saved = (*document)->SaveText();
    const auto again = Parse(saved);
    const std::size_t countAgain = again ? Walk(**again) : 0;
    const std::wstring savedAgain = again ? (*again)->SaveText() : std::wstring();
    // Platforms that take prefixes that are not declared lose them when they save, and attributes
    // that differed in nothing else then have one name.
    if (text.find(L':') == std::wstring::npos) {
        Require(again.has_value(), "what was saved is read");
        Require(savedAgain == saved, "what was read is saved as before");
        Require(countAgain == count, "as many nodes as before");
    }
    return 0;
}
