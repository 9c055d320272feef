// What a job or a condition captured is destroyed outside every lock, whatever ends it: its
// destructor may use the queue and the pool.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::ReturnsInTime;

namespace {

// Destructors that use everything there is. A lock that is held meanwhile hangs the test.
class JobQueueReentrancy : public testing::Test {
protected:
    // Ends the program unless `scenario` comes to its end, with as many tokens gone as were made.
    void Run(const std::function<void()>& scenario) {
        ReturnsInTime("a destructor that uses the queue", [&] {
            {
                CJobQueue fresh(pool, 1);
                queue = &fresh;
                scenario();
            }
            queue = nullptr;
        });
        EXPECT_GT(made, 0);
        EXPECT_EQ(gone, made);
        EXPECT_EQ(queuedRan, made);
    }

    std::shared_ptr<void> Token() {
        ++made;
        return kq_test::OnDestruction([this] {
            ++gone;
            (void)pool->ThreadCount();
            (void)pool->SpareThreadCount();
            pool->RemoveFinishedThreads();
            const CJobTicket victim = queue->Queue([] {}, after(blocker));
            queue->Remove(victim);
            queue->Queue([this] { ++queuedRan; });
        });
    }

    // Blocks until `release`, fails then.
    void Block() {
        blocker = queue->Queue([this] {
            started.Set();
            release.Wait();
            throw std::runtime_error("no");
        });
        started.Wait();
    }

    std::atomic<int> made{0}, gone{0}, queuedRan{0};
    Event started, release;
    const std::shared_ptr<CThreadPool> pool = std::make_shared<CThreadPool>(2);
    CJobQueue* queue = nullptr;
    CJobTicket blocker;
};

std::shared_ptr<CJobTermsImpl> Holding(std::shared_ptr<void> token, StartInfo answer) {
    return condition([held = std::move(token), answer] { return answer; });
}

TEST_F(JobQueueReentrancy, WhenAJobIsDone) {
    Run([&] { queue->Queue([token = Token()] {}).Wait(); });
}

TEST_F(JobQueueReentrancy, WhenAJobHasFailed) {
    Run([&] {
        std::optional<std::string> error;
        queue->Queue([token = Token()] { throw 1; }).Wait(error);
    });
}

TEST_F(JobQueueReentrancy, WhenAReadyJobIsRemoved) {
    Run([&] {
        Block();
        // The second dispatcher as well.
        Event secondStarted;
        queue->Queue([&] {
            secondStarted.Set();
            release.Wait();
        });
        secondStarted.Wait();
        queue->Remove(queue->Queue([token = Token()] {}));
        release.Set();
    });
}

TEST_F(JobQueueReentrancy, WhenAWaitingJobIsRemoved) {
    Run([&] {
        Block();
        queue->Remove(queue->Queue([token = Token()] {}, after(blocker)));
        release.Set();
    });
}

TEST_F(JobQueueReentrancy, WhenAPolledJobIsRemovedWithItsCondition) {
    Run([&] {
        Block();
        queue->Remove(queue->Queue([token = Token()] {}, Holding(Token(), StartInfo::Postpone)));
        release.Set();
    });
}

TEST_F(JobQueueReentrancy, WhenAJobIsDroppedByWhatItDependsOn) {
    Run([&] {
        Block();
        queue->Queue([token = Token()] {}, dependsOn(blocker));
        queue->Queue([token = Token()] {}, dependsOn(blocker) & isBlocking);
        release.Set();
    });
}

TEST_F(JobQueueReentrancy, WhenAJobIsDroppedAtOnce) {
    Run([&] {
        Block();
        release.Set();
        std::optional<std::string> error;
        blocker.Wait(error);
        queue->Queue([token = Token()] {}, dependsOn(blocker));
    });
}

TEST_F(JobQueueReentrancy, WhenAConditionSaysDrop) {
    Run([&] { queue->Queue([token = Token()] {}, Holding(Token(), StartInfo::Drop)).Wait(); });
}

TEST_F(JobQueueReentrancy, WhenAConditionSaysStart) {
    Run([&] { queue->Queue([token = Token()] {}, Holding(Token(), StartInfo::Start)).Wait(); });
}

TEST_F(JobQueueReentrancy, WhenAPoolHasRunAJob) {
    Run([&] { pool->Start([token = Token()] {}).Wait(); });
}

} // namespace
