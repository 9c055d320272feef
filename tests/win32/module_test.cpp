#include <windows.h>

#include <kq/win32/module.h>

#include "support/handle_level.h"
#include "support/temporary_folder.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <string>

using kq::win32::GetExecutableFilename;
using kq::win32::GetExecutableModule;
using kq::win32::GetLibraryFilename;
using kq::win32::GetLibraryModule;
using kq::win32::LoadLibraryModule;

namespace {

constexpr int rounds = 10'000;
const wchar_t library[] = L"kq_test_messages.dll";

bool EndsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Without the prefix, which the system may leave out or put in.
std::wstring Plain(const std::wstring& path) {
    return path.compare(0, 4, L"\\\\?\\") == 0 ? path.substr(4) : path;
}

std::wstring FolderOfThisProgram() { return GetExecutableFilename().parent_path().wstring(); }

TEST(GetExecutableModule, IsTheModuleOfThisProgram) {
    EXPECT_EQ(GetExecutableModule(), GetModuleHandleW(nullptr));
}

TEST(GetExecutableFilename, IsTheFileOfThisProgram) {
    EXPECT_EQ(GetExecutableFilename().filename().wstring(), L"win32_module_test.exe");
    EXPECT_EQ(GetExecutableFilename(), GetLibraryFilename(GetExecutableModule()));
    EXPECT_NE(GetFileAttributesW(GetExecutableFilename().c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(GetLibraryModule, FindsALoadedLibraryByNameAndByPath) {
    const HINSTANCE kernel = GetModuleHandleW(L"kernel32.dll");
    EXPECT_EQ(GetLibraryModule(L"kernel32.dll"), kernel);
    EXPECT_EQ(GetLibraryModule(L"KERNEL32"), kernel);
    EXPECT_EQ(GetLibraryModule(GetLibraryFilename(kernel)), kernel);
}

TEST(GetLibraryModule, DoesNotLoadALibrary) {
    for (const boost::filesystem::path path : {library, L"", L"no such library.dll"}) {
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { GetLibraryModule(path); }),
                  "Failed to get the module for the library!");
    }
    EXPECT_EQ(GetModuleHandleW(library), nullptr);
}

TEST(GetLibraryFilename, RefusesANullHandle) {
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { GetLibraryFilename(nullptr); }),
              "Library module may not be NULL!");
}

TEST(GetLibraryFilename, FailsForAHandleThatIsNoModule) {
    const auto module = LoadLibraryModule(library);
    const HINSTANCE stale = module.get() + 0x10'000;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { GetLibraryFilename(stale); }),
              "Failed to get module file name!");
}

TEST(GetLibraryFilename, MayHaveAnyLength) {
    TemporaryFolder folder;
    for (const std::size_t length :
         {150u, 255u, 256u, 258u, 259u, 260u, 261u, 519u, 520u, 521u, 779u, 780u, 781u, 840u}) {
        const std::wstring path =
            folder.CopyIn(FolderOfThisProgram() + L"\\" + library, length, L".dll");
        const auto module = LoadLibraryModule(path);
        EXPECT_EQ(Plain(GetLibraryFilename(module.get()).wstring()), Plain(path)) << length;
    }
}

TEST(GetLibraryFilename, MayHaveCharactersOfEveryLanguage) {
    TemporaryFolder folder;
    const std::wstring path =
        folder.CopyIn(FolderOfThisProgram() + L"\\" + library, 120, L"\u4e2d\u00fc\u0416.dll");
    const auto module = LoadLibraryModule(path);
    EXPECT_TRUE(EndsWith(GetLibraryFilename(module.get()).wstring(), L"\u4e2d\u00fc\u0416.dll"));
}

TEST(LoadLibraryModule, KeepsTheLibraryLoadedUntilTheLastCopyGoes) {
    ASSERT_EQ(GetModuleHandleW(library), nullptr);
    auto module = LoadLibraryModule(library);
    EXPECT_EQ(GetLibraryModule(library), module.get());
    auto copy = module;
    module.reset();
    EXPECT_EQ(GetModuleHandleW(library), copy.get());
    copy.reset();
    EXPECT_EQ(GetModuleHandleW(library), nullptr);
}

TEST(LoadLibraryModule, GivesBackExactlyOneReference) {
    const HINSTANCE ours = LoadLibraryW(library);
    ASSERT_NE(ours, nullptr);
    auto module = LoadLibraryModule(library);
    EXPECT_EQ(module.get(), ours);
    auto copy = module;
    module.reset();
    copy.reset();
    EXPECT_EQ(GetModuleHandleW(library), ours);
    EXPECT_TRUE(FreeLibrary(ours));
    EXPECT_EQ(GetModuleHandleW(library), nullptr);
}

TEST(LoadLibraryModule, FailsWhenThereIsNoSuchLibrary) {
    EXPECT_EQ(ThrownText<std::runtime_error>([] { LoadLibraryModule(L"no such library.dll"); }),
              "Failed to load the module for the library!");
}

TEST(LoadLibraryModule, FailsForAFileThatIsNoLibrary) {
    TemporaryFolder folder;
    const std::wstring path = folder.CopyIn(L"C:\\windows\\win.ini", 120, L".dll");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { LoadLibraryModule(path); }),
              "Failed to load the module for the library!");
}

// By whole paths, which spare each round the search for the library.
TEST(LoadLibraryModule, LeaksNothing) {
    const boost::filesystem::path path = GetExecutableFilename().parent_path() / library;
    LoadLibraryModule(path);
    const auto before = HandleLevel();
    for (int round = 0; round != rounds; ++round)
        LoadLibraryModule(path);
    EXPECT_EQ(HandleLevel(), before);
    EXPECT_EQ(GetModuleHandleW(library), nullptr);
}

TEST(LoadLibraryModule, LeaksNothingWhenItFails) {
    const boost::filesystem::path path = GetExecutableFilename().parent_path() / L"no such.dll";
    const auto fail = [&] { LoadLibraryModule(path); };
    ThrownText<std::runtime_error>(fail);
    const auto before = HandleLevel();
    for (int round = 0; round != rounds; ++round)
        ThrownText<std::runtime_error>(fail);
    EXPECT_EQ(HandleLevel(), before);
}

} // namespace
