#include "concurrency/run_job.h"

#include "concurrency/finish_cascade.h"
#include "concurrency/job_state.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace kq::concurrency {

namespace {

// Without debug information: CodeView cannot describe an emulated thread-local object, and the
// program would not link.
#if defined(__clang__)
[[gnu::nodebug]]
#endif
thread_local CurrentJobSlot currentJob = nullptr;

std::exception_ptr Call(Job& job) noexcept {
    std::exception_ptr error;
    try {
        job();
    } catch (...) {
        error = std::current_exception();
    }
    job = Job();
    return error;
}

} // namespace

CurrentJobSlot& CurrentJob() noexcept { return currentJob; }

CJobTicket MakePendingTicket() { return CJobTicket(std::make_shared<CJobState>()); }

void RunJob(Job& job, const CJobTicket& ticket, CurrentJobSlot& slot, const void* looker) noexcept {
    CJobState& state = *ticket.State();
    FinishCascade cascade(looker);
    slot = &ticket;
    state.Begin();
    if (std::exception_ptr error = Call(job))
        state.Fail(std::move(error), cascade);
    else
        state.Succeed(cascade);
    cascade.Run();
    slot = nullptr;
}

CJobTicket thisJob() {
    if (currentJob == nullptr)
        throw std::runtime_error("no this job is executed by the current thread");
    return *currentJob;
}

} // namespace kq::concurrency
