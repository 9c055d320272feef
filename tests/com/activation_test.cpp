#include "com/activation.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

using kq::com::Activate;

namespace {

// Any address will do: the platform's function of these tests does not look at it.
int something = 0;
const HANDLE someContext = &something;

TEST(Activate, ReturnsTheCookieForTheContext) {
    HANDLE activated = nullptr;
    const ULONG_PTR cookie = Activate(someContext, [&](HANDLE context, ULONG_PTR* written) {
        activated = context;
        *written = 17;
        return TRUE;
    });
    EXPECT_EQ(activated, someContext);
    EXPECT_EQ(cookie, 17u);
}

TEST(Activate, ThrowsWhenThePlatformRefuses) {
    const auto refuse = [](HANDLE, ULONG_PTR*) { return FALSE; };
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Activate(someContext, refuse); }),
              "Failed to activate context!");
}

} // namespace
