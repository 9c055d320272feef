#include "com/initialization.h"

#include <gtest/gtest.h>

using kq::com::OwesUninitialize;

namespace {

TEST(OwesUninitialize, AfterSuccess) {
    EXPECT_TRUE(OwesUninitialize(S_OK));
    EXPECT_TRUE(OwesUninitialize(S_FALSE));
}

TEST(OwesUninitialize, AfterEveryFailureButTheOtherApartment) {
    EXPECT_TRUE(OwesUninitialize(E_INVALIDARG));
    EXPECT_TRUE(OwesUninitialize(E_OUTOFMEMORY));
    EXPECT_TRUE(OwesUninitialize(E_UNEXPECTED));
    EXPECT_FALSE(OwesUninitialize(RPC_E_CHANGED_MODE));
    EXPECT_FALSE(OwesUninitialize(static_cast<HRESULT>(0x80010106)));
}

} // namespace
