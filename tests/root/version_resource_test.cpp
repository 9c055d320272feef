// What Windows shows as the version of kq.dll.
#include <kq/version.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

namespace {

class VersionResource : public testing::Test {
protected:
    void SetUp() override {
        HMODULE library = nullptr;
        ASSERT_TRUE(GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const wchar_t*>(LibraryAddress()), &library));
        std::wstring name(32768, L'\0');
        name.resize(GetModuleFileNameW(library, name.data(), static_cast<DWORD>(name.size())));
        const DWORD size = GetFileVersionInfoSizeW(name.c_str(), nullptr);
        ASSERT_NE(size, 0u) << GetLastError();
        resource_.resize(size);
        ASSERT_TRUE(GetFileVersionInfoW(name.c_str(), 0, size, resource_.data()));
    }

    // The value at `path`, of whatever type it is; null when there is none.
    template <class T>
    const T* Value(const std::wstring& path) const {
        void* value = nullptr;
        UINT size = 0;
        return VerQueryValueW(resource_.data(), path.c_str(), &value, &size) && size != 0
                   ? static_cast<const T*>(value)
                   : nullptr;
    }

    // A text in the language that the resource says it is in.
    std::wstring Text(const std::wstring& name) const {
        const auto* translation = Value<WORD>(L"\\VarFileInfo\\Translation");
        if (translation == nullptr)
            return L"no translation";
        wchar_t folder[64];
        wsprintfW(folder, L"\\StringFileInfo\\%04x%04x\\", translation[0], translation[1]);
        const auto* text = Value<wchar_t>(folder + name);
        return text == nullptr ? L"no text" : text;
    }

private:
    // An address in kq.dll: what the library returns stands in its own storage.
    static const char* LibraryAddress() { return kq::Version().text; }

    std::vector<unsigned char> resource_;
};

TEST_F(VersionResource, HasTheNumbersOfTheHeader) {
    const auto* fixed = Value<VS_FIXEDFILEINFO>(L"\\");
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(fixed->dwFileVersionMS, MAKELONG(KQ_VERSION_MINOR, KQ_VERSION_MAJOR));
    EXPECT_EQ(fixed->dwFileVersionLS, MAKELONG(0, KQ_VERSION_PATCH));
    EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
    EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
}

TEST_F(VersionResource, HasTheTextOfTheLibrarysVersion) {
    const std::string version = kq::Version().text;
    EXPECT_EQ(Text(L"FileVersion"), std::wstring(version.begin(), version.end()));
    EXPECT_EQ(Text(L"ProductVersion"), std::wstring(version.begin(), version.end()));
}

TEST_F(VersionResource, NamesTheLibrary) {
    EXPECT_EQ(Text(L"ProductName"), L"kq");
    EXPECT_EQ(Text(L"OriginalFilename"), L"kq.dll");
    EXPECT_EQ(Text(L"LegalCopyright"), L"Boost Software License 1.0");
}

} // namespace
