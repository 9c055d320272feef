#include <windows.h>

#include "saved_report.h"

#include "path.h"
#include "report.h"

#include <kq/com/com_usage.h>
#include <kq/converter/hex.h>
#include <kq/xml/dom.h>

#include <comdef.h>

namespace find_duplicates {
namespace {

using kq::xml::AddChildElement;
using kq::xml::AddChildTextNode;
using kq::xml::DomDocument;
using kq::xml::DomElement;
using kq::xml::DomNode;

constexpr const wchar_t* rootName = L"find_duplicates";
constexpr const wchar_t* version = L"1";

/// The path as it is shown, with U+FFFD for what XML does not allow.
std::wstring TextOf(const std::wstring& path) {
    constexpr wchar_t replacement = L'\ufffd';
    const auto isHigh = [](wchar_t unit) { return unit >= 0xd800 && unit < 0xdc00; };
    const auto isLow = [](wchar_t unit) { return unit >= 0xdc00 && unit < 0xe000; };
    std::wstring text = DisplayPath(path);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isHigh(text[at]) && at + 1 < text.size() && isLow(text[at + 1]))
            ++at;
        else if (isHigh(text[at]) || isLow(text[at]) || text[at] > replacement)
            text[at] = replacement;
    }
    return text;
}

std::wstring Hexadecimal(const MD5HASH& digest) {
    std::wstring text(2 * sizeof(digest.bytes), L'0');
    Mem2Hex(text.data(), digest.bytes, sizeof(digest.bytes));
    return text;
}

std::uint64_t ParseNumber(const std::wstring& text) {
    std::size_t used = 0;
    const unsigned long long number = std::stoull(text, &used);
    if (used != text.size())
        throw std::invalid_argument("not a number");
    return number;
}

void Add(DomElement& parent, const SavedGroup& group) {
    const auto element = AddChildElement(parent, L"group", L"");
    element->SetAttribute(L"size", std::to_wstring(group.size));
    element->SetAttribute(L"digest", group.digest);
    for (const std::vector<std::wstring>& copy : group.copies) {
        const auto names = AddChildElement(*element, L"copy", L"");
        for (const std::wstring& name : copy)
            AddChildTextNode(*AddChildElement(*names, L"path", L""), L"")->SetValue(name);
    }
}

void Save(const SavedReport& report, const std::wstring& file) {
    const auto document = DomDocument::Create();
    const auto root = AddChildElement(*document, rootName, L"");
    root->SetAttribute(L"version", version);
    root->SetAttribute(L"folder", report.folder);
    root->SetAttribute(L"complete", report.complete ? L"yes" : L"no");
    for (const SavedGroup& group : report.groups)
        Add(*root, group);
    document->SaveFile(file);
}

SavedGroup ReadGroup(const DomElement& element) {
    SavedGroup group;
    group.size = ParseNumber(element.GetAttribute(L"size"));
    group.digest = element.GetAttribute(L"digest");
    for (const auto& copy : element.GetChildNodes(L"copy")) {
        std::vector<std::wstring>& names = group.copies.emplace_back();
        for (const auto& path : copy->GetChildNodes(L"path"))
            names.push_back(kq::xml::GetChildTextNodeValue(*path));
    }
    return group;
}

SavedReport Load(const std::wstring& file) {
    const auto document = DomDocument::CreateFromFile(file);
    const auto root = document->GetDocumentElement();
    if (root->GetName() != rootName || root->GetAttribute(L"version") != version)
        throw std::invalid_argument("not a report of this program");
    SavedReport report;
    report.folder = root->GetAttribute(L"folder");
    report.complete = root->GetAttribute(L"complete") == L"yes";
    for (const auto& group : root->GetChildNodes(L"group"))
        report.groups.push_back(ReadGroup(*kq::dynamic_reference_cast<DomElement>(group)));
    return report;
}

/// Does `work` with COM. What goes wrong becomes a `BadReport` that begins with `what`.
template <class Work>
auto WithDocuments(const std::wstring& what, Work work) {
    const kq::com::ComUsage com;
    try {
        return work();
    } catch (const _com_error& problem) {
        throw BadReport(what + L" (" + ErrorText(static_cast<unsigned long>(problem.Error())) +
                        L")");
    } catch (const std::exception& problem) {
        const std::string text = problem.what();
        throw BadReport(what + L" (" + std::wstring(text.begin(), text.end()) + L")");
    }
}

} // namespace

SavedGroup SaveGroup(const Tree& tree, const Group& group) {
    SavedGroup saved;
    saved.size = group.size;
    saved.digest = Hexadecimal(group.copies.front().front()->digest);
    for (const Copy& copy : group.copies) {
        std::vector<std::wstring>& names = saved.copies.emplace_back();
        for (const Candidate* const name : copy)
            names.push_back(TextOf(tree.PathOf(name->file)));
    }
    return saved;
}

SavedReport MakeReport(const std::wstring& folder, const Findings& findings,
                       const std::vector<Group>& groups) {
    SavedReport report;
    report.folder = TextOf(folder);
    report.complete = IsComplete(findings) && !findings.interrupted;
    for (const Group& group : groups)
        report.groups.push_back(SaveGroup(findings.tree, group));
    return report;
}

void WriteReport(const SavedReport& report, const std::wstring& file) {
    WithDocuments(L"cannot write report '" + file + L"'", [&] { Save(report, file); });
}

SavedReport ReadReport(const std::wstring& file) {
    return WithDocuments(L"cannot read report '" + file + L"'", [&] { return Load(file); });
}

} // namespace find_duplicates
