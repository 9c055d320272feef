// Scenarios that look at what was found.
#include "finder_program.h"
#include "resource.h"
#include "scenarios.h"

#include <cstdio>

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
void WriteCopies(std::FILE* file, int group, const DrivenList& copies) {
    int copy = 0;
    for (int row = 0; row != copies.Count(); ++row) {
        std::wstring name = copies.Text(row, nameColumn);
        const bool isOtherName = name.compare(0, 2, L"= ") == 0;
        if (isOtherName)
            name.erase(0, 2);
        else
            ++copy;
        const std::wstring path = copies.Text(row, folderColumn) + L'\\' + name;
        std::fprintf(file, "%d\t%d\t%s\n", group + 1, copy, Utf8(path).c_str());
    }
}

} // namespace

void Find(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program);
    finder.Search(arguments[0]);
    finder.AwaitEnd();
    const DrivenList groups(finder.Window().Control(IDC_GROUPS), finder.Process());
    const DrivenList copies(finder.Window().Control(IDC_COPIES), finder.Process());
    std::FILE* const file = _wfopen(arguments[1].c_str(), L"wb");
    if (file == nullptr)
        Fail("cannot write the listing");
    for (int row = 0; row != groups.Count(); ++row) {
        groups.Select(row);
        if (copies.Text(0, nameColumn) != groups.Text(row, nameColumn) ||
            copies.Text(0, folderColumn) != groups.Text(row, folderColumn))
            Fail("the copies are not those of the selected group");
        WriteCopies(file, row, copies);
    }
    std::fclose(file);
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
    SetFocus(nullptr);
    Send(finder.Window().Handle(), WM_NULL);
    RedrawWindow(finder.Window().Handle(), nullptr, nullptr, RDW_ALLCHILDREN | RDW_UPDATENOW);
    RECT place{};
    GetWindowRect(finder.Window().Handle(), &place);
    std::printf("ready %ld %ld %ld %ld\n", place.left, place.top, place.right - place.left,
                place.bottom - place.top);
    std::fflush(stdout);
    std::getchar();
    finder.Close();
}
