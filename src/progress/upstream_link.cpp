#include "progress/upstream_link.h"

#include "progress/progress_state.h"

namespace kq::progress {

namespace {

bool IsCancelled(const ProgressState& state) noexcept {
    return state.status == EProgressStatus::Cancelling ||
           state.status == EProgressStatus::Cancelled;
}

} // namespace

UpstreamLink::UpstreamLink(const std::shared_ptr<ProgressStateImpl>& child,
                           const std::shared_ptr<ProgressStateImpl>& parent, double weight)
    : onParent_(
          parent->ConnectStates([weakChild = std::weak_ptr(child)](ProgressState const& state) {
              if (!IsCancelled(state))
                  return;
              if (const auto to = weakChild.lock())
                  to->Cancel();
          })),
      // A state calls its observers only while it lives, so this one may refer to the child.
      onChild_(child->ConnectStates([&from = *child, weakParent = std::weak_ptr(parent), weight,
                                     lastSeen = 0.0](ProgressState const& state) mutable {
          const auto to = weakParent.lock();
          if (to == nullptr)
              return;
          if (IsCancelled(state))
              to->Cancel();
          if (const auto step = from.CatchUp(lastSeen))
              to->Add(*step * weight);
      })) {}

} // namespace kq::progress
