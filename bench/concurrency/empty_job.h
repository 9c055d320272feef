// The job that does nothing.
#pragma once

#include <atomic>
#include <cstddef>

namespace bench {

/// Does nothing but be counted, and not even that while time is measured.
struct Empty {
    std::atomic<std::size_t>* runs = nullptr;

    void operator()() const {
        if (runs != nullptr)
            runs->fetch_add(1, std::memory_order_relaxed);
    }
};

} // namespace bench
