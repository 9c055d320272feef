#include <kq/concurrency/job_ticket.h>

#include "concurrency/job_state.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace kq::concurrency {

namespace {

// `unsigned long` may hold more than the library's waits, which are as long as the platform's.
std::uint32_t Saturated(unsigned long milliseconds) noexcept {
    constexpr unsigned long longest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(milliseconds, longest));
}

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
    if (!state_->Wait(Saturated(milliseconds)))
        return false;
    RethrowFailure(*state_);
    return true;
}

bool CJobTicket::Wait(unsigned long milliseconds, std::optional<std::string>& error) const {
    if (!state_)
        return true;
    const bool finished = state_->Wait(Saturated(milliseconds));
    error = finished ? state_->ErrorText() : std::nullopt;
    return finished;
}

} // namespace kq::concurrency
