#include <kq/debug/memory_leak_detection.h>

namespace kq::debug {

MemoryLeakDetection::MemoryLeakDetection() noexcept = default;
MemoryLeakDetection::~MemoryLeakDetection() = default;
MemoryLeakDetection& MemoryLeakDetection::operator=(MemoryLeakDetection const& other) noexcept =
    default;

} // namespace kq::debug
