// Texts as XML documents: each is refused or is read, walked, asked, saved and read again.
#include <kq/com/com_usage.h>
#include <kq/converter/utf8.h>
#include <kq/xml/dom.h>

#include "fuzz/require.h"

#include <optional>
#include <string>

using kq::xml::DomDocument;
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

/// Visits all nodes; returns how many there are.
std::size_t Walk(const DomNode& node) {
    std::size_t count = 1;
    static_cast<void>(node.GetNamespaceURI());
    if (node.HasValue())
        static_cast<void>(node.GetValue());
    const auto children = node.GetChildNodes();
    Require(node.HasChildNodes() == !children.empty(), "whether there are children");
    for (const auto& child : children) {
        Require(!child->GetName().empty(), "a name");
        count += Walk(*child);
    }
    return count;
}

void Ask(const DomNode& node, const std::wstring& xpath) {
    try {
        const bool hasAny = node.HasChildNode(xpath);
        Require(node.GetChildNodes(xpath).empty() == !hasAny, "what a path selects");
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        Require(text == "Failed to get child node!" || text == "Failed to get child nodes!",
                "the text of a failed look-up");
    }
}

} // namespace

// What stands behind the first zero is a path to nodes.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const kq::com::ComUsage com;
    const std::string all(data, data + size);
    const std::size_t zero = all.find('\0');
    const auto document = Parse(kq::converter::ConvertUtf8ToUcs2(all.substr(0, zero)));
    if (!document)
        return 0;
    const std::size_t count = Walk(**document);
    if (zero != std::string::npos)
        Ask(**document, kq::converter::ConvertUtf8ToUcs2(all.substr(zero + 1)));
    const std::wstring saved = (*document)->SaveText();
    const auto again = Parse(saved);
    Require(again.has_value(), "what was saved is read");
    Require((*again)->SaveText() == saved, "what was read is saved as before");
    Require(count == 0 || Walk(**again) != 0, "the nodes");
    return 0;
}
