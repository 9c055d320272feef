// Takes memory away from an operation, at each place where it asks for some.
#pragma once

#include "support/allocations.h"
#include "support/eventually.h"
#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

namespace kq_test {

enum class Leftovers { Count, Ignore };

/// Runs `operation` on a new subject with its first allocation failing, then with its second, and
/// so on until it succeeds; only the allocations of the calling thread fail. Each failure has to
/// reach the caller as `std::bad_alloc`, and whether it came or not, `use` has to work on the
/// subject from another thread, for which no lock may be held, and nothing may be left when the
/// subject is gone; unless these are ignored, because the subject leans on something that stays.
/// Returns how many failures there were.
template <class Make, class Operation, class Use>
int FailEachAllocation(Make make, Operation operation, Use use,
                       Leftovers leftovers = Leftovers::Count) {
    // Whatever is made once for the process is made now.
    {
        const auto subject = make();
        operation(*subject);
        use(*subject);
    }
    for (int limit = 0;; ++limit) {
        SCOPED_TRACE(limit);
        const std::size_t before = LiveBlocks();
        bool hasFailed = false;
        {
            const auto subject = make();
            try {
                const AllocationLimit limited(limit);
                operation(*subject);
            } catch (const std::bad_alloc&) {
                hasFailed = true;
            }
            ReturnsInTime("the use after a failure", [&] { use(*subject); });
        }
        EXPECT_TRUE(leftovers == Leftovers::Ignore ||
                    Eventually([&] { return LiveBlocks() <= before; }))
            << LiveBlocks() << " blocks, " << before << " before";
        if (!hasFailed || testing::Test::HasFailure())
            return limit;
    }
}

} // namespace kq_test
