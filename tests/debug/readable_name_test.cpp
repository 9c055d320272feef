#include "debug/readable_name.h"

#include <gtest/gtest.h>

#include <string>

using kq::debug::ReadableName;

namespace {

TEST(ReadableFunctionName, IsThePlainOneWhereTheSymbolIsDecorated) {
#if __has_include(<cxxabi.h>)
    EXPECT_EQ(ReadableName("_ZN4Host4OpenEv"), "Host::Open()");
    EXPECT_EQ(ReadableName("_ZNSt6thread4joinEv"), "std::thread::join()");
#endif
}

TEST(ReadableFunctionName, IsTheSymbolOtherwise) {
    for (const char* const name :
         {"", "_", "main", "Host::Open", "_Zebra", "_Z", "_ZN4Host4Op", "?Open@Host@@QEAAXXZ"})
        EXPECT_EQ(ReadableName(name), name);
}

} // namespace
