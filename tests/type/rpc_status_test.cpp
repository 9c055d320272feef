#include "type/rpc_status.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

using kq::type::RequireSuccess;

namespace {

TEST(RequireSuccess, TakesSuccess) { EXPECT_NO_THROW(RequireSuccess(RPC_S_OK, "text")); }

TEST(RequireSuccess, RefusesEveryOtherStatusWithTheText) {
    for (const RPC_STATUS status :
         {RPC_S_UUID_LOCAL_ONLY, RPC_S_UUID_NO_ADDRESS, RPC_S_INVALID_ARG, RPC_S_OUT_OF_MEMORY})
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { RequireSuccess(status, "text"); }), "text");
}

} // namespace
