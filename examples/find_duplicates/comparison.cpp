#include "comparison.h"

#include "figures.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace find_duplicates {
namespace {

/// By size, the largest first, and digest.
struct Content {
    std::uint64_t size;
    std::wstring digest;

    friend bool operator<(const Content& left, const Content& right) {
        return left.size != right.size ? left.size > right.size : left.digest < right.digest;
    }
};

struct Files {
    std::size_t copies = 0;
    std::vector<std::wstring> paths; ///< in order
};

using Contents = std::map<Content, Files>;

Contents ByContent(const SavedReport& report) {
    Contents contents;
    for (const SavedGroup& group : report.groups) {
        Files& files = contents[{group.size, group.digest}];
        files.copies += group.copies.size();
        for (const std::vector<std::wstring>& copy : group.copies)
            files.paths.insert(files.paths.end(), copy.begin(), copy.end());
        std::sort(files.paths.begin(), files.paths.end());
    }
    return contents;
}

std::uint64_t Waste(const Contents& contents) {
    std::uint64_t waste = 0;
    for (const auto& [content, files] : contents)
        waste += content.size * (files.copies - 1);
    return waste;
}

std::vector<std::wstring> Without(const std::vector<std::wstring>& paths,
                                  const std::vector<std::wstring>& others) {
    std::vector<std::wstring> rest;
    std::set_difference(paths.begin(), paths.end(), others.begin(), others.end(),
                        std::back_inserter(rest));
    return rest;
}

std::wstring Lines(const wchar_t* mark, const std::vector<std::wstring>& paths) {
    std::wstring text;
    for (const std::wstring& path : paths)
        text += L"    " + (mark + (L' ' + path)) + L'\n';
    return text;
}

/// What has become of the groups, in words and in numbers.
class Changes {
public:
    void Add(const Content& content, const Files& before, const Files& now) {
        const std::vector<std::wstring> lost = Without(before.paths, now.paths);
        const std::vector<std::wstring> gained = Without(now.paths, before.paths);
        if (lost.empty() && gained.empty())
            return;
        const std::wstring of = L" copies of " + FormatSize(content.size);
        if (before.copies == 0) {
            ++new_;
            text_ += L"new: " + FormatCount(now.copies) + of + L'\n';
        } else if (now.copies == 0) {
            ++gone_;
            text_ += L"gone: " + FormatCount(before.copies) + of + L'\n';
        } else {
            ++changed_;
            text_ += L"changed: " + FormatCount(now.copies) + of + L", before " +
                     FormatCount(before.copies) + L'\n';
        }
        text_ += Lines(L"-", lost) + Lines(L"+", gained) + L'\n';
    }

    const std::wstring& Text() const noexcept { return text_; }
    std::wstring Numbers() const {
        if (text_.empty())
            return L"nothing has changed";
        return FormatCount(new_) + L" new, " + FormatCount(gone_) + L" gone, " +
               FormatCount(changed_) + L" changed";
    }

private:
    std::wstring text_;
    std::uint64_t new_ = 0;
    std::uint64_t gone_ = 0;
    std::uint64_t changed_ = 0;
};

} // namespace

std::wstring DescribeChanges(const SavedReport& before, const SavedReport& now) {
    const Contents contentsBefore = ByContent(before);
    const Contents contentsNow = ByContent(now);
    // Whatever is on either side, once.
    std::map<Content, std::pair<Files, Files>> all;
    for (const auto& [content, files] : contentsBefore)
        all[content].first = files;
    for (const auto& [content, files] : contentsNow)
        all[content].second = files;

    Changes changes;
    for (const auto& [content, files] : all)
        changes.Add(content, files.first, files.second);
    std::wstring text = changes.Text() + L"Since the earlier report: " + changes.Numbers() + L"; " +
                        FormatSize(Waste(contentsNow)) + L" wasted, before " +
                        FormatSize(Waste(contentsBefore)) + L'\n';
    if (before.folder != now.folder)
        text += L"The earlier report is of another folder: " + before.folder + L'\n';
    if (!before.complete)
        text += L"The earlier search has not examined everything\n";
    if (!now.complete)
        text += L"This search has not examined everything\n";
    return text;
}

} // namespace find_duplicates
