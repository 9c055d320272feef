#include "work.h"

namespace find_duplicates {

using kq::progress::ERequest;

Work::Work()
    : gate_(std::make_shared<Gate>()),
      root_(kq::progress::Create(L"Searching for duplicates", true, true, progressGranularity, 0,
                                 {})),
      signaler_(kq::progress::CreateSignaler(*root_)),
      requests_(
          root_->ConnectRequests([gate = gate_](ERequest request) { gate->OnRequest(request); })) {}

void Work::Gate::Pass() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !isSuspended_ || isCancelled_; });
    if (isCancelled_)
        throw Cancelled();
}

void Work::Gate::OnRequest(ERequest request) {
    const std::lock_guard guard(mutex_);
    isSuspended_ = request == ERequest::Suspend;
    isCancelled_ = isCancelled_ || request == ERequest::Cancel;
    changed_.notify_all();
}

} // namespace find_duplicates
