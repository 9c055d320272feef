// Roots of progress and those who watch them.
#pragma once

#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kq_test {

/// A root that allows everything.
inline std::unique_ptr<kq::progress::IProgressRoot> MakeRoot(double granularity = 0.0) {
    return kq::progress::Create(L"root", true, true, granularity, 0, {});
}

/// Keeps every state that a root publishes, from the one that is current when the watch begins. For
/// changes on one thread.
class Watch {
public:
    explicit Watch(kq::progress::IProgressRoot& root)
        : signaler(kq::progress::CreateSignaler(root)),
          connection_(signaler->Connect(
              [this](kq::progress::ProgressState const& state) { states.push_back(state); })) {}

    /// How many publications there were, without the state at the beginning.
    std::size_t Publications() const { return states.size() - 1; }
    const kq::progress::ProgressState& Last() const { return states.back(); }
    kq::progress::ProgressState Now() const { return signaler->GetState(); }

    const std::unique_ptr<kq::progress::IProgressSignaler> signaler;
    std::vector<kq::progress::ProgressState> states;

private:
    std::shared_ptr<void> connection_;
};

} // namespace kq_test
