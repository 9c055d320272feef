// Scenarios that look at what was found.
#include "finder_program.h"
#include "resource.h"
#include "scenarios.h"
#include "support/file_bytes.h"

#include <cstdio>
#include <string>

namespace {

constexpr int nameColumn = 0;
constexpr int folderColumn = 1;
constexpr int copiesColumn = 2;

std::string Utf8(const std::wstring& text) {
    std::string bytes(text.size() * 3 + 1, '\0');
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

/// The lines of one group: its number, the number of the copy and the path, with tabs between.
std::string ListingOf(int group, const DrivenList& copies) {
    std::string listing;
    int copy = 0;
    for (int row = 0; row != copies.Count(); ++row) {
        std::wstring name = copies.Text(row, nameColumn);
        const bool isOtherName = name.compare(0, 2, L"= ") == 0;
        if (isOtherName)
            name.erase(0, 2);
        else
            ++copy;
        listing += std::to_string(group + 1) + '\t' + std::to_string(copy) + '\t' +
                   Utf8(copies.Text(row, folderColumn) + L'\\' + name) + '\n';
    }
    return listing;
}

} // namespace

void Find(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program);
    finder.Search(arguments[0]);
    finder.AwaitEnd();
    const DrivenList groups(finder.Window().Control(IDC_GROUPS), finder.Process());
    const DrivenList copies(finder.Window().Control(IDC_COPIES), finder.Process());
    std::string listing;
    for (int row = 0; row != groups.Count(); ++row) {
        groups.Select(row);
        if (copies.Text(0, nameColumn) != groups.Text(row, nameColumn) ||
            copies.Text(0, folderColumn) != groups.Text(row, folderColumn))
            Fail("the copies are not those of the selected group");
        listing += ListingOf(row, copies);
    }
    kq_test::WriteBytes(arguments[1], listing);
    finder.Close();
}

void Pose(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program, arguments[0]);
    const DrivenList groups(finder.Window().Control(IDC_GROUPS), finder.Process());
    WaitUntil("it is halfway", [&] { return finder.Position() > 400; });
    for (int row = 0; row != groups.Count(); ++row) {
        if (groups.Text(row, copiesColumn) == L"4") {
            groups.Select(row);
            break;
        }
    }
    finder.Window().PressMnemonic(L'g'); // the selected row looks best with the focus
    finder.Window().AwaitFocus(IDC_GROUPS);
    RedrawWindow(finder.Window().Handle(), nullptr, nullptr, RDW_ALLCHILDREN | RDW_UPDATENOW);
    RECT place{};
    GetWindowRect(finder.Window().Handle(), &place);
    std::printf("ready %ld %ld %ld %ld\n", place.left, place.top, place.right - place.left,
                place.bottom - place.top);
    std::fflush(stdout);
    std::getchar();
    finder.Close();
}
