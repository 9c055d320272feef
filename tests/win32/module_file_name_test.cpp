#include "win32/module_file_name.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kq::win32::ReadModuleFileName;

namespace {

constexpr char failure[] = "Failed to get module file name!";

// A name that differs in each place.
std::wstring NameOf(std::size_t length) {
    std::wstring name;
    while (name.size() < length)
        name += static_cast<wchar_t>(L'a' + name.size() % 26);
    return name;
}

// The platform's function with a module of the given name: a name that fills the buffer leaves no
// room for the zero and is cut.
struct Platform {
    std::wstring name;
    std::vector<DWORD> capacities{};
    std::size_t failingCall = ~std::size_t{0};

    DWORD operator()(wchar_t* buffer, DWORD capacity) {
        capacities.push_back(capacity);
        if (capacities.size() - 1 == failingCall) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return 0;
        }
        const bool fits = name.size() < capacity;
        const std::size_t copied = fits ? name.size() : capacity - 1;
        std::copy_n(name.begin(), copied, buffer);
        buffer[copied] = L'\0';
        if (fits)
            return static_cast<DWORD>(copied);
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return capacity;
    }
};

using Capacities = std::vector<DWORD>;

TEST(ReadModuleFileName, ReturnsANameThatIsShorterThanTheBuffer) {
    for (const std::size_t length : {1u, 100u, 258u, 259u}) {
        Platform platform{NameOf(length)};
        EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(length));
        EXPECT_EQ(platform.capacities, Capacities{260});
    }
}

TEST(ReadModuleFileName, GrowsForANameAsLongAsTheBuffer) {
    Platform platform{NameOf(260)};
    EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(260));
    EXPECT_EQ(platform.capacities, (Capacities{260, 520}));
}

TEST(ReadModuleFileName, GrowsForANameOneLongerThanTheBuffer) {
    Platform platform{NameOf(261)};
    EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(261));
    EXPECT_EQ(platform.capacities, (Capacities{260, 520}));
}

TEST(ReadModuleFileName, GrowsUntilTheNameFits) {
    for (const std::size_t length : {520u, 521u, 779u}) {
        Platform platform{NameOf(length)};
        EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(length));
        EXPECT_EQ(platform.capacities, (Capacities{260, 520, 780}));
    }
    Platform platform{NameOf(32'767)};
    EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(32'767));
}

TEST(ReadModuleFileName, DoesNotMistakeAnEarlierErrorForACutName) {
    Platform platform{NameOf(10)};
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(ReadModuleFileName(std::ref(platform)), NameOf(10));
    EXPECT_EQ(platform.capacities, Capacities{260});
}

TEST(ReadModuleFileName, ThrowsWhenTheFirstCallFails) {
    Platform platform{NameOf(10)};
    platform.failingCall = 0;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadModuleFileName(std::ref(platform)); }),
              failure);
    EXPECT_EQ(platform.capacities.size(), 1u);
}

TEST(ReadModuleFileName, ThrowsWhenALaterCallFails) {
    Platform platform{NameOf(1000)};
    platform.failingCall = 2;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadModuleFileName(std::ref(platform)); }),
              failure);
    EXPECT_EQ(platform.capacities.size(), 3u);
}

} // namespace
