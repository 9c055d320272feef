#include <windows.h>

#include <kq/win32/path.h>

#include "support/temporary_folder.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <string>

// The qualified names: the platform's functions have the same.
namespace win32 = kq::win32;

namespace {

constexpr char failure[] = "Failed to get path name";

std::wstring CurrentFolder() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

std::wstring ThisProgram() {
    std::wstring file(32'768, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return file;
}

TEST(FullPathName, CompletesARelativeName) {
    EXPECT_EQ(win32::GetFullPathNameW(L"some.txt").wstring(), CurrentFolder() + L"\\some.txt");
}

TEST(FullPathName, ResolvesDots) {
    EXPECT_EQ(win32::GetFullPathNameW(L"C:\\a\\.\\b\\..\\c").wstring(), L"C:\\a\\c");
}

TEST(FullPathName, ReturnsPathsOfEveryLength) {
    for (const std::size_t length : {10u, 258u, 259u, 260u, 261u, 519u, 520u, 521u, 5000u}) {
        std::wstring path = L"C:";
        while (path.size() < length)
            path += path.size() % 100 == 2 && path.size() + 1 < length ? L'\\' : L'n';
        EXPECT_EQ(win32::GetFullPathNameW(path).wstring(), path) << length;
    }
}

TEST(FullPathName, FailsForAnEmptyName) {
    EXPECT_EQ(ThrownText<std::runtime_error>([] { win32::GetFullPathNameW(L""); }), failure);
}

// `path` without its prefix, where the system takes so long a path without one.
std::wstring PlainIfPossible(const std::wstring& path) {
    const std::wstring plain = path.substr(4);
    return GetFileAttributesW(plain.c_str()) != INVALID_FILE_ATTRIBUTES ? plain : path;
}

TEST(LongPathName, GivesBackALongForm) {
    EXPECT_EQ(win32::GetLongPathNameW(ThisProgram()).wstring(), ThisProgram());
}

TEST(LongPathName, ReplacesShortNames) {
    TemporaryFolder folder;
    const std::wstring longForm =
        PlainIfPossible(folder.CopyIn(ThisProgram(), 120, L" with spaces.long-extension"));
    std::wstring shortForm(1000, L'\0');
    shortForm.resize(GetShortPathNameW(longForm.c_str(), shortForm.data(), 1000));
    ASSERT_FALSE(shortForm.empty());
    const std::wstring found = win32::GetLongPathNameW(shortForm).wstring();
    EXPECT_EQ(found.substr(found.rfind(L'\\')), longForm.substr(longForm.rfind(L'\\')));
}

TEST(LongPathName, ReturnsPathsOfEveryLength) {
    TemporaryFolder folder;
    for (const std::size_t length : {255u, 256u, 257u, 258u, 259u, 260u, 261u, 515u, 516u, 517u,
                                     518u, 519u, 520u, 521u, 840u}) {
        const std::wstring path = PlainIfPossible(folder.CopyIn(ThisProgram(), length, L".bin"));
        EXPECT_EQ(win32::GetLongPathNameW(path).wstring(), path) << length;
    }
}

TEST(LongPathName, FailsWhenThereIsNoSuchFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] {
                  win32::GetLongPathNameW(PlainIfPossible(folder.Path()) + L"\\no such file");
              }),
              failure);
    EXPECT_EQ(ThrownText<std::runtime_error>([] { win32::GetLongPathNameW(L""); }), failure);
}

TEST(TempPathName, IsTheSystemsFolder) {
    wchar_t expected[MAX_PATH + 1] = L"";
    ASSERT_NE(GetTempPathW(MAX_PATH + 1, expected), 0u);
    EXPECT_EQ(win32::GetTempPathName().wstring(), expected);
}

TEST(TempPathName, EndsWithABackslash) {
    EXPECT_EQ(win32::GetTempPathName().wstring().back(), L'\\');
}

TEST(TempPathName, FollowsTheEnvironment) {
    const std::wstring before = win32::GetTempPathName().wstring();
    std::wstring value(32'768, L'\0');
    value.resize(GetEnvironmentVariableW(L"TMP", value.data(), static_cast<DWORD>(value.size())));
    SetEnvironmentVariableW(L"TMP", L"C:\\windows");
    EXPECT_EQ(win32::GetTempPathName().wstring(), L"C:\\windows\\");
    SetEnvironmentVariableW(L"TMP", value.c_str());
    EXPECT_EQ(win32::GetTempPathName().wstring(), before);
}

} // namespace
