#include <windows.h>

#include <rpc.h>

#include <kq/type/guid.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

using kq::type::Guid;

namespace {

constexpr GUID sample = {
    0x01234567, 0x89ab, 0xcdef, {0xfe, 0xdc, 0xba, 0x98, 0x76, 0x54, 0x32, 0x10}};
const wchar_t sampleText[] = L"01234567-89ab-cdef-fedc-ba9876543210";

TEST(Guid, IsAPlainValueOfSixteenBytes) {
    static_assert(sizeof(Guid) == 16);
    static_assert(std::is_trivially_copyable_v<Guid>);
    static_assert(std::is_nothrow_move_constructible_v<Guid>);
}

TEST(Guid, IsNewEachTime) {
    std::set<std::wstring> texts;
    for (int i = 0; i != 1000; ++i)
        texts.insert(Guid().ToString());
    EXPECT_EQ(texts.size(), 1000u);
}

TEST(Guid, WrapsAndReturnsTheGivenValue) {
    const GUID value = Guid(sample).Get();
    EXPECT_EQ(std::memcmp(&value, &sample, sizeof(GUID)), 0);
}

TEST(Guid, KeepsItsValueWhenMovedFrom) {
    Guid source(sample);
    // NOLINTBEGIN(performance-move-const-arg,bugprone-use-after-move): this is what is tested
    const Guid target(std::move(source));
    EXPECT_EQ(target, Guid(sample));
    EXPECT_EQ(source, Guid(sample));
    // NOLINTEND(performance-move-const-arg,bugprone-use-after-move)
}

TEST(Guid, WritesLowerCaseTextWithoutBraces) { EXPECT_EQ(Guid(sample).ToString(), sampleText); }

TEST(Guid, ReadsItsOwnText) {
    for (int i = 0; i != 1000; ++i) {
        const Guid guid;
        EXPECT_EQ(Guid(guid.ToString()), guid);
    }
    EXPECT_EQ(Guid(std::wstring(sampleText)), Guid(sample));
}

TEST(Guid, ReadsUpperCaseText) {
    EXPECT_EQ(Guid(std::wstring(L"01234567-89AB-CDEF-FEDC-BA9876543210")), Guid(sample));
    EXPECT_TRUE(Guid::IsValidString(L"01234567-89AB-CDEF-FEDC-BA9876543210"));
}

TEST(Guid, ReadsTheTextOfZeros) {
    EXPECT_EQ(Guid(std::wstring(L"00000000-0000-0000-0000-000000000000")), Guid(GUID{}));
}

TEST(Guid, RefusesEveryOtherText) {
    const std::wstring good = sampleText;
    std::vector<std::wstring> texts = {L"",
                                       L" ",
                                       L"{" + good + L"}",
                                       L"{" + good.substr(1, 34) + L"}",
                                       good + L"0",
                                       good + L" ",
                                       L" " + good,
                                       good.substr(1),
                                       good.substr(0, 35),
                                       L"0123456789abcdeffedcba9876543210",
                                       L"01234567-89ab-cdef-fedc_ba9876543210",
                                       L"012345678-9ab-cdef-fedc-ba9876543210",
                                       L"0123456g-89ab-cdef-fedc-ba9876543210",
                                       good + std::wstring(1, L'\0'),
                                       good + std::wstring(L"\0tail", 5)};
    // A zero, or what is no hexadecimal digit, at each place of a text of the right length.
    for (std::size_t place = 0; place != good.size(); ++place)
        for (const wchar_t wrong : {L'\0', L'g', L'/', L'\u0661', L'\uff11'}) {
            std::wstring text = good;
            text[place] = wrong;
            texts.push_back(text);
        }
    for (const std::wstring& text : texts) {
        EXPECT_FALSE(Guid::IsValidString(text)) << testing::PrintToString(text);
        EXPECT_EQ(ThrownText<std::logic_error>([&] { Guid{text}; }),
                  "Failed to parse string as GUID!")
            << testing::PrintToString(text);
    }
}

TEST(Guid, AcceptsAsValidWhatItReads) {
    EXPECT_TRUE(Guid::IsValidString(sampleText));
    EXPECT_TRUE(Guid::IsValidString(Guid().ToString()));
}

TEST(Guid, ComparesWithEveryOperator) {
    const Guid low(GUID{1, 0, 0, {}});
    const Guid high(GUID{2, 0, 0, {}});
    const Guid alsoLow = low;
    EXPECT_TRUE(low == alsoLow);
    EXPECT_FALSE(low == high);
    EXPECT_TRUE(low != high);
    EXPECT_FALSE(low != alsoLow);
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
    EXPECT_FALSE(low < alsoLow);
    EXPECT_TRUE(high > low);
    EXPECT_FALSE(low > alsoLow);
    EXPECT_TRUE(low <= alsoLow);
    EXPECT_FALSE(high <= low);
    EXPECT_TRUE(low >= alsoLow);
    EXPECT_FALSE(low >= high);
}

TEST(Guid, DiffersInEachByte) {
    for (std::size_t place = 0; place != sizeof(GUID); ++place) {
        unsigned char bytes[sizeof(GUID)];
        std::memcpy(bytes, &sample, sizeof(GUID));
        bytes[place] = static_cast<unsigned char>(bytes[place] + 1);
        GUID other;
        std::memcpy(&other, bytes, sizeof(GUID));
        EXPECT_NE(Guid(other), Guid(sample)) << place;
        EXPECT_NE(Guid(other) < Guid(sample), Guid(sample) < Guid(other)) << place;
    }
}

TEST(Guid, IsOrderedAsThePlatformOrdersIt) {
    constexpr std::uint32_t seed = 20240519;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    bool differsFromBytes = false;
    for (int round = 0; round != 50'000; ++round) {
        // Few values a field, so that the first difference stands in every field.
        GUID left{};
        GUID right{};
        for (GUID* value : {&left, &right}) {
            value->Data1 = (random() % 2) << (random() % 4 * 8);
            value->Data2 = static_cast<unsigned short>((random() % 2) << (random() % 2 * 15));
            value->Data3 = static_cast<unsigned short>((random() % 2) << (random() % 2 * 15));
            for (unsigned char& byte : value->Data4)
                byte = static_cast<unsigned char>((random() % 2) << (random() % 2 * 7));
        }
        RPC_STATUS status = RPC_S_OK;
        const int order = UuidCompare(&left, &right, &status);
        ASSERT_EQ(Guid(left) < Guid(right), order < 0);
        ASSERT_EQ(Guid(left) == Guid(right), order == 0);
        ASSERT_EQ(Guid(left) > Guid(right), order > 0);
        differsFromBytes |= (std::memcmp(&left, &right, sizeof(GUID)) < 0) != (order < 0);
    }
    EXPECT_TRUE(differsFromBytes);
}

TEST(Guid, IsAKeyOfOrderedAndUnorderedContainers) {
    std::map<Guid, int> ordered;
    std::unordered_set<Guid> unordered;
    std::vector<Guid> guids(1000);
    for (const Guid& guid : guids) {
        ++ordered[guid];
        unordered.insert(guid);
        unordered.insert(guid);
    }
    EXPECT_EQ(ordered.size(), guids.size());
    EXPECT_EQ(unordered.size(), guids.size());
    EXPECT_TRUE(std::all_of(guids.begin(), guids.end(), [&](const Guid& guid) {
        return ordered.at(guid) == 1 && unordered.count(guid) == 1;
    }));
}

TEST(Guid, HashDependsOnEachByte) {
    const std::hash<Guid> hash;
    EXPECT_EQ(hash(Guid(sample)), hash(Guid(std::wstring(sampleText))));
    for (std::size_t place = 0; place != sizeof(GUID); ++place) {
        unsigned char bytes[sizeof(GUID)];
        std::memcpy(bytes, &sample, sizeof(GUID));
        bytes[place] = static_cast<unsigned char>(bytes[place] ^ 1);
        GUID other;
        std::memcpy(&other, bytes, sizeof(GUID));
        EXPECT_NE(hash(Guid(other)), hash(Guid(sample))) << place;
    }
}

TEST(Guid, IsWrittenToAStreamAsItsText) {
    std::wostringstream stream;
    stream << L'<' << Guid(sample) << L'>';
    EXPECT_EQ(stream.str(), std::wstring(L"<") + sampleText + L">");
}

} // namespace
