// Run from a long path, whose length stands in KQ_TEST_PATH_LENGTH.
#include <windows.h>

#include <kq/win32/module.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

TEST(GetExecutableFilename, IsWholeWhenItIsLong) {
    std::wstring expected(32'768, L'\0');
    expected.resize(GetModuleFileNameW(nullptr, expected.data(), 32'768));
    const char* const length = std::getenv("KQ_TEST_PATH_LENGTH");
    ASSERT_NE(length, nullptr);
    ASSERT_EQ(expected.size(), std::stoul(length));
    EXPECT_EQ(kq::win32::GetExecutableFilename().wstring(), expected);
}

} // namespace
