// What the tests of documents have in common.
#pragma once

#include <kq/com/com_usage.h>
#include <kq/xml/dom.h>

#include <gtest/gtest.h>

/// A test on a thread with COM.
class DomTest : public testing::Test {
private:
    const kq::com::ComUsage com_;
};

namespace kq_test {

using Node = kq::shared_ref<kq::xml::DomNode, boost::shared_ptr>;
using ConstNode = kq::shared_ref<const kq::xml::DomNode, boost::shared_ptr>;
using Element = kq::shared_ref<kq::xml::DomElement, boost::shared_ptr>;
using Text = kq::shared_ref<kq::xml::DomTextNode, boost::shared_ptr>;
using Document = kq::shared_ref<kq::xml::DomDocument, boost::shared_ptr>;

constexpr wchar_t declaration[] = L"<?xml version=\"1.0\" encoding=\"utf-8\"?>";

/// The document of that text.
inline Document Parse(const std::wstring& text) {
    return kq::xml::DomDocument::CreateFromText(text);
}

/// The text of a saved document, without its declaration and the ends of lines around its root:
/// where those go is the platform's business.
inline std::wstring Body(const kq::xml::DomDocument& document) {
    std::wstring text = document.SaveText();
    if (text.rfind(L"<?xml ", 0) == 0)
        text.erase(0, text.find(L"?>") + 2);
    const auto begin = text.find_first_not_of(L"\r\n");
    return begin == std::wstring::npos
               ? std::wstring()
               : text.substr(begin, text.find_last_not_of(L"\r\n") + 1 - begin);
}

/// The names of the nodes, with a blank between them.
inline std::wstring Names(const std::vector<Node>& nodes) {
    std::wstring names;
    for (const Node& node : nodes)
        names += (names.empty() ? L"" : L" ") + node->GetName();
    return names;
}

} // namespace kq_test
