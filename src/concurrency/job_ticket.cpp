#include <kq/concurrency/job_ticket.h>

#include "concurrency/job_state.h"

namespace kq::concurrency {

namespace {

void RethrowFailure(const CJobState& state) {
    if (state.Error())
        std::rethrow_exception(state.Error());
}

} // namespace

void CJobTicket::Wait() const {
    if (!state_)
        return;
    state_->Wait();
    RethrowFailure(*state_);
}

void CJobTicket::Wait(std::optional<std::string>& error) const {
    if (!state_)
        return;
    state_->Wait();
    error = state_->ErrorText();
}

bool CJobTicket::Wait(unsigned long milliseconds) const {
    if (!state_)
        return true;
    if (!state_->Wait(static_cast<std::uint32_t>(milliseconds)))
        return false;
    RethrowFailure(*state_);
    return true;
}

bool CJobTicket::Wait(unsigned long milliseconds, std::optional<std::string>& error) const {
    if (!state_)
        return true;
    const bool finished = state_->Wait(static_cast<std::uint32_t>(milliseconds));
    error = finished ? state_->ErrorText() : std::nullopt;
    return finished;
}

} // namespace kq::concurrency
