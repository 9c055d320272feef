#include "report.h"

#include "figures.h"
#include "path.h"

#include <algorithm>

namespace find_duplicates {
namespace {

std::wstring PathOf(const Tree& tree, const Candidate& candidate) {
    return DisplayPath(tree.PathOf(candidate.file));
}

std::uint64_t Count(const Findings& findings, State state) {
    const auto count =
        std::count_if(findings.candidates.begin(), findings.candidates.end(),
                      [&](const Candidate& candidate) { return candidate.state == state; });
    return static_cast<std::uint64_t>(count);
}

std::wstring DescribeWaste(const std::vector<Group>& groups) {
    if (groups.empty())
        return L"No duplicates found\n";
    std::uint64_t surplus = 0;
    std::uint64_t otherNames = 0;
    std::uint64_t waste = 0;
    for (const Group& group : groups) {
        surplus += group.copies.size() - 1;
        waste += group.Waste();
        for (const Copy& copy : group.copies)
            otherNames += copy.size() - 1;
    }
    std::wstring text = FormatCount(groups.size(), L"group") + L" of duplicates: " +
                        FormatSize(waste) + L" wasted by " +
                        (surplus == 1 ? L"1 copy" : FormatCount(surplus) + L" copies");
    if (otherNames > 0)
        text += L"; " + FormatCount(otherNames, L"other name") + L" of the same files";
    return text + L'\n';
}

std::wstring DescribeReading(const Findings& findings) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - findings.begin).count();
    const std::uint64_t bytes = findings.heads.bytes + findings.bodies.bytes;
    return L"Read " + FormatSize(bytes) + L" of " +
           FormatCount(findings.candidates.size(), L"file") + L" in " + FormatTenths(seconds) +
           L" s\n";
}

} // namespace

std::wstring DescribeGroups(const Tree& tree, const std::vector<Group>& groups) {
    std::wstring text;
    for (const Group& group : groups) {
        text += FormatSize(group.Waste()) + L" wasted: " + FormatCount(group.copies.size()) +
                L" copies of " + FormatSize(group.size) + L'\n';
        for (const Copy& copy : group.copies) {
            text += L"    " + PathOf(tree, *copy.front()) + L'\n';
            for (auto name = copy.begin() + 1; name != copy.end(); ++name)
                text += L"      = " + PathOf(tree, **name) + L'\n';
        }
        text += L'\n';
    }
    return text;
}

std::wstring TabulateGroups(const Tree& tree, const std::vector<Group>& groups) {
    std::wstring text;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        const std::vector<Copy>& copies = groups[group].copies;
        for (std::size_t copy = 0; copy < copies.size(); ++copy) {
            for (const Candidate* name : copies[copy])
                text += std::to_wstring(group + 1) + L'\t' + std::to_wstring(copy + 1) + L'\t' +
                        std::to_wstring(groups[group].size) + L'\t' + PathOf(tree, *name) + L'\n';
        }
    }
    return text;
}

std::vector<std::wstring> ListProblems(const Findings& findings) {
    std::vector<std::wstring> problems;
    const auto add = [&](const std::wstring& what, const std::wstring& path) {
        problems.push_back(what + L": " + path);
    };
    for (const Problem& folder : findings.tree.unreadableFolders)
        add(L"cannot read folder (" + ErrorText(folder.error) + L")", DisplayPath(folder.path));
    for (const Candidate& candidate : findings.candidates) {
        if (candidate.state == State::Unreadable)
            add(L"cannot read (" + ErrorText(candidate.error) + L")",
                PathOf(findings.tree, candidate));
        else if (candidate.state == State::Changed)
            add(L"changed while it was read", PathOf(findings.tree, candidate));
    }
    return problems;
}

std::wstring DescribeProblems(const Findings& findings) {
    std::wstring text;
    for (const std::wstring& problem : ListProblems(findings))
        text += L"find_duplicates: " + problem + L'\n';
    return text;
}

std::wstring DescribeTree(const Findings& findings) {
    const Tree& tree = findings.tree;
    std::uint64_t links = tree.links;
    std::uint64_t files = tree.files.size();
    std::uint64_t bytes = tree.bytes;
    for (const Candidate& candidate : findings.candidates) {
        if (candidate.state != State::Link)
            continue;
        ++links;
        --files;
        bytes -= tree.files[candidate.file].size;
    }
    std::wstring text = FormatCount(files, L"file") + L" in " +
                        FormatCount(tree.folders.size(), L"folder") + L", " + FormatSize(bytes) +
                        L"; " + FormatCount(tree.empty) + L" empty";
    if (links > 0)
        text += L"; " + FormatCount(links, L"link") + L" not followed";
    if (tree.offline > 0)
        text += L"; " + FormatCount(tree.offline, L"file") + L" not on this computer left out";
    return text;
}

std::wstring DescribeSummary(const Findings& findings, const std::vector<Group>& groups) {
    std::wstring text =
        DescribeTree(findings) + L'\n' + DescribeWaste(groups) + DescribeReading(findings);
    if (!IsComplete(findings))
        text += L"Not examined: " +
                FormatCount(Count(findings, State::Unreadable), L"unreadable file") + L", " +
                FormatCount(findings.tree.unreadableFolders.size(), L"unreadable folder") + L", " +
                FormatCount(Count(findings, State::Changed), L"file") + L" that changed\n";
    if (findings.interrupted)
        text += L"Interrupted: " + FormatCount(findings.notCompared, L"file") +
                L" not compared to the end\n";
    return text;
}

bool IsComplete(const Findings& findings) {
    return findings.tree.unreadableFolders.empty() && Count(findings, State::Unreadable) == 0 &&
           Count(findings, State::Changed) == 0;
}

} // namespace find_duplicates
