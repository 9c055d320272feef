// What keeps jobs from starting.
#pragma once

#include <kq/concurrency/job_queue.h>

#include "event.h"

#include <cstddef>
#include <vector>

namespace bench {

/// A job that keeps a thread of the normal lane busy until it is told to end.
class Blockers {
public:
    /// Returns when every one of them runs, so that no other job of the lane can start.
    Blockers() {
        const std::size_t lanes = kq::concurrency::threadPool->MaxSpareThreadCount();
        started_.Begin(lanes);
        for (std::size_t lane = 0; lane != lanes; ++lane)
            tickets_.push_back(kq::concurrency::jobQueue->Queue([this] {
                started_.CountOne();
                release_.Wait();
            }));
        started_.Wait();
    }
    ~Blockers() {
        Release();
        for (const kq::concurrency::CJobTicket& ticket : tickets_)
            ticket.Wait();
    }
    Blockers(const Blockers&) = delete;
    Blockers& operator=(const Blockers&) = delete;

    void Release() noexcept { release_.Set(); }

private:
    Countdown started_;
    Event release_;
    std::vector<kq::concurrency::CJobTicket> tickets_;
};

/// A job that many others wait for.
class Obstacle {
public:
    Obstacle()
        : ticket_(kq::concurrency::jobQueue->Queue([this] { release_.Wait(); },
                                                   kq::concurrency::isBlocking)) {}
    ~Obstacle() { Release(); }
    Obstacle(const Obstacle&) = delete;
    Obstacle& operator=(const Obstacle&) = delete;

    void Release() {
        release_.Set();
        ticket_.Wait();
    }
    const kq::concurrency::CJobTicket& Ticket() const { return ticket_; }

private:
    Event release_;
    kq::concurrency::CJobTicket ticket_;
};

} // namespace bench
