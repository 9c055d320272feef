// A scope that watches the debug heap.
#pragma once

#include <kq/export.h>

#include <cstddef>

namespace kq {
namespace debug {

/// Reserved for comparing the run-time library's debug heap at the end of a scope with its
/// beginning. The release build has no debug heap: there this does nothing.
class MemoryLeakDetection {
public:
    /// Does nothing in this build.
    KQ_API MemoryLeakDetection() noexcept;
    /// Does nothing in this build.
    // NOLINTNEXTLINE(performance-trivially-destructible): hosts built with this one may meet others
    KQ_API ~MemoryLeakDetection();
    /// Copies the snapshot of `other`.
    MemoryLeakDetection(MemoryLeakDetection const& other) = default;
    /// Takes over the snapshot of `other`.
    KQ_API MemoryLeakDetection& operator=(MemoryLeakDetection const& other) noexcept;

private:
    // As the run-time library records it: one count and one size for each kind of block.
    struct HeapSnapshot {
        void* firstBlock;
        std::size_t counts[5];
        std::size_t sizes[5];
        std::size_t mostInUse;
        std::size_t total;
    };

    // Only ever copied in this build.
    [[maybe_unused]] HeapSnapshot atStart_{};
};

} // namespace debug
} // namespace kq
