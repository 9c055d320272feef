// Something to capture whose end can be seen.
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace kq_test {

/// A token that calls `action` when its last copy is destroyed; jobs and conditions capture it.
inline std::shared_ptr<void> OnDestruction(std::function<void()> action) {
    return {nullptr, [call = std::move(action)](void*) { call(); }};
}

} // namespace kq_test
