#include <kq/version.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Version, OfTheLibraryIsThatOfItsHeaders) {
    const kq::VersionInfo version = kq::Version();
    EXPECT_EQ(version.major, unsigned{KQ_VERSION_MAJOR});
    EXPECT_EQ(version.minor, unsigned{KQ_VERSION_MINOR});
    EXPECT_EQ(version.patch, unsigned{KQ_VERSION_PATCH});
}

TEST(Version, TextIsTheThreeNumbersWithPoints) {
    const kq::VersionInfo version = kq::Version();
    EXPECT_EQ(version.text, std::to_string(version.major) + "." + std::to_string(version.minor) +
                                "." + std::to_string(version.patch));
}

} // namespace
