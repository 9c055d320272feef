// One root's progress as a part of another's.
#pragma once

#include <kq/signal/sink_list.h>

#include <memory>

namespace kq::progress {

class ProgressStateImpl;

/// While it lives, the progress of `child` flows into `parent` with `weight`, from the beginning,
/// and cancelling either cancels the other one. Keeps neither alive.
class UpstreamLink {
public:
    UpstreamLink(const std::shared_ptr<ProgressStateImpl>& child,
                 const std::shared_ptr<ProgressStateImpl>& parent, double weight);

private:
    signal::Connection onParent_;
    signal::Connection onChild_;
};

} // namespace kq::progress
