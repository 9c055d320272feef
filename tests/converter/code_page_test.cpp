// The call protocol, with a platform function of the test's own: lengths that no test can allocate.
#include "converter/code_page.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

using kq::converter::ConvertByCodePage;

namespace {

constexpr char failure[] = "Failed to convert string!";

// Answers the calls in turn with the given lengths and fills the output.
struct Platform {
    std::vector<int> answers;
    std::vector<int> inputLengths{};
    std::vector<int> capacities{};

    int operator()(const char*, int length, wchar_t* output, int capacity) {
        const std::size_t call = inputLengths.size();
        inputLengths.push_back(length);
        capacities.push_back(capacity);
        for (int i = 0; output != nullptr && i != capacity; ++i)
            output[i] = L'x';
        return answers.at(call);
    }
};

std::wstring Convert(std::size_t length, Platform& platform) {
    return ConvertByCodePage<wchar_t>("", length,
                                      [&](auto... arguments) { return platform(arguments...); });
}

TEST(ConvertByCodePage, OfAnEmptyTextIsEmptyWithoutACall) {
    Platform platform{{}};
    EXPECT_EQ(Convert(0, platform), L"");
    EXPECT_TRUE(platform.inputLengths.empty());
}

TEST(ConvertByCodePage, AsksForTheLengthAndThenConverts) {
    Platform platform{{3, 3}};
    EXPECT_EQ(Convert(5, platform), L"xxx");
    EXPECT_EQ(platform.inputLengths, (std::vector{5, 5}));
    EXPECT_EQ(platform.capacities, (std::vector{0, 3}));
}

TEST(ConvertByCodePage, TakesATextOfTheGreatestLength) {
    Platform platform{{1, 1}};
    EXPECT_EQ(Convert(2'147'483'647, platform), L"x");
    EXPECT_EQ(platform.inputLengths, (std::vector{INT_MAX, INT_MAX}));
}

TEST(ConvertByCodePage, RefusesLongerTextsWithoutACall) {
    for (const std::size_t length :
         {std::size_t{2'147'483'648}, std::size_t{4'294'967'295}, std::size_t{4'294'967'296},
          std::size_t{4'294'967'297}, ~std::size_t{0}}) {
        Platform platform{{1, 1}};
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { Convert(length, platform); }), failure);
        EXPECT_TRUE(platform.inputLengths.empty());
    }
}

TEST(ConvertByCodePage, ThrowsWhenTheLengthIsRefused) {
    Platform platform{{0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Convert(5, platform); }), failure);
}

TEST(ConvertByCodePage, ThrowsWhenTheLengthOverflows) {
    Platform platform{{INT_MIN}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Convert(5, platform); }), failure);
}

TEST(ConvertByCodePage, ThrowsWhenTheConversionFails) {
    Platform platform{{3, 0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Convert(5, platform); }), failure);
}

TEST(ConvertByCodePage, ThrowsWhenTheSecondLengthDiffers) {
    for (const int second : {2, 4}) {
        Platform platform{{3, second}};
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { Convert(5, platform); }), failure);
    }
}

} // namespace
