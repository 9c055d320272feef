// Both ways of the conversions give the same, so that it does not matter which a processor takes.
#include "converter/hex_vectors.h"

#include "converter/hex_loops.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

using namespace kq::converter;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::uint32_t seed = 20240601;

class HexVectors : public testing::Test {
protected:
    void SetUp() override {
        if (!HasHexVectors())
            GTEST_SKIP() << "this processor has no SSSE3, or wide characters have 32 bits";
        std::printf("seed %u\n", seed);
    }

    Bytes RandomBytes(std::size_t length) {
        Bytes bytes(length);
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(random_());
        return bytes;
    }

    /// Digits mostly, and sometimes anything.
    Bytes RandomText(std::size_t bytes) {
        constexpr char digits[] = "0123456789abcdefABCDEF";
        Bytes text(bytes * 2 * sizeof(HexCharacter));
        for (std::size_t i = 0; i != text.size(); i += sizeof(HexCharacter)) {
            const auto character = static_cast<HexCharacter>(
                random_() % 8 == 0 ? random_() : static_cast<unsigned>(digits[random_() % 22]));
            std::memcpy(text.data() + i, &character, sizeof(character));
        }
        return text;
    }

private:
    std::mt19937 random_{seed};
};

TEST_F(HexVectors, EncodeAsTheLoopDoes) {
    for (std::size_t length = hexVectorSize; length != 201; ++length) {
        const Bytes bytes = RandomBytes(length);
        Bytes byLoop(2 * sizeof(wchar_t) * length);
        Bytes byVectors(2 * sizeof(wchar_t) * length);
        EncodeHexByLoop(byLoop.data(), bytes.data(), length);
        EncodeHexByVectors(byVectors.data(), bytes.data(), length);
        ASSERT_EQ(byVectors, byLoop) << length;
    }
}

TEST_F(HexVectors, DecodeAsTheLoopDoes) {
    for (int round = 0; round != 100; ++round)
        for (std::size_t length = hexVectorSize; length != 201; ++length) {
            const Bytes text = RandomText(length);
            Bytes byLoop(length);
            Bytes byVectors(length);
            DecodeHexByLoop(byLoop.data(), text.data(), length);
            DecodeHexByVectors(byVectors.data(), text.data(), length);
            ASSERT_EQ(byVectors, byLoop) << length;
        }
}

TEST(HexLoops, EncodeAndDecode) {
    const Bytes bytes = {0x00, 0xAB, 0xFF, 0x9A};
    Bytes text(2 * sizeof(wchar_t) * bytes.size());
    EncodeHexByLoop(text.data(), bytes.data(), bytes.size());
    EXPECT_EQ(std::memcmp(text.data(), L"00abff9a", text.size()), 0);
    Bytes decoded(bytes.size());
    DecodeHexByLoop(decoded.data(), text.data(), bytes.size());
    EXPECT_EQ(decoded, bytes);
}

} // namespace
