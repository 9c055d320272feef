#include "thread/recycling.h"

namespace kq::thread {

namespace {

// A cache line each more, so that threads that work on neighbouring blocks do not share a line.
constexpr std::size_t step = 64;
BlockRecycler recyclers[] = {BlockRecycler(step), BlockRecycler(2 * step), BlockRecycler(3 * step),
                             BlockRecycler(4 * step)};
static_assert(sizeof(recyclers) / sizeof(recyclers[0]) * step == largestRecycled);

} // namespace

BlockRecycler& RecyclerFor(std::size_t size) noexcept { return recyclers[(size - 1) / step]; }

void TrimRecyclers() noexcept {
    for (BlockRecycler& recycler : recyclers)
        recycler.Trim();
}

} // namespace kq::thread
