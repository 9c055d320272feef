#include "scoped_jobs.h"

#include <optional>
#include <string>
#include <utility>

namespace find_duplicates {
namespace {

using namespace kq::concurrency;

struct Stopped {};

} // namespace

ScopedJobs::~ScopedJobs() {
    stopped_ = true;
    // The last first, so that nothing that waits for an earlier one starts meanwhile.
    for (auto ticket = tickets_.rbegin(); ticket != tickets_.rend(); ++ticket)
        jobQueue->Remove(*ticket);
    std::optional<std::string> ignored;
    for (const CJobTicket& ticket : tickets_)
        ticket.Wait(ignored);
}

void ScopedJobs::Queue(Job job, const std::shared_ptr<CJobTermsImpl>& terms) {
    tickets_.emplace_back(); // nothing may fail between queuing and keeping the ticket
    tickets_.back() = jobQueue->Queue(std::move(job), terms);
}

void ScopedJobs::ThrowIfStopped() const {
    if (stopped_)
        throw Stopped();
}

} // namespace find_duplicates
