// Which modules have come and gone.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kq::debug {

/// The bases of modules that were loaded or unloaded, between a thread that reports them and one
/// that takes them. Neither waits for the other, and a report allocates nothing: it may come while
/// the process ends.
class TouchedModules {
public:
    /// More than these since the last `Take` are not told apart.
    static constexpr std::size_t capacity = 256;

    /// Reports the module at `base`. By one thread at a time.
    void Add(std::uint64_t base) noexcept {
        const std::uint64_t count = count_.load();
        bases_[count % capacity].store(base);
        count_.store(count + 1);
    }

    /// Whether there are reports that were not taken. By one thread at a time, as `Take`.
    bool HasNews() const noexcept { return count_.load(std::memory_order_acquire) != taken_; }

    /// The reports since the last time; nothing when there were too many, and any module may have
    /// been loaded or unloaded.
    std::optional<std::vector<std::uint64_t>> Take() {
        const std::uint64_t first = taken_;
        const std::uint64_t end = count_.load();
        std::vector<std::uint64_t> bases;
        if (end - first <= capacity) {
            bases.reserve(end - first);
            for (std::uint64_t index = first; index != end; ++index)
                bases.push_back(bases_[index % capacity].load());
        }
        taken_ = end;
        // The next report may be about to overwrite the place of the one `capacity` before it.
        if (count_.load() - first >= capacity)
            return std::nullopt;
        return bases;
    }

private:
    std::array<std::atomic<std::uint64_t>, capacity> bases_{};
    std::atomic<std::uint64_t> count_{0};
    std::uint64_t taken_ = 0;
};

} // namespace kq::debug
