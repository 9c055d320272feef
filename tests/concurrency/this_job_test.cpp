#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace kq::concurrency;
using kq_test::Event;

namespace {

constexpr const char* outsideText = "no this job is executed by the current thread";

std::string TextOutside() {
    return ThrownText<std::runtime_error>([] { (void)thisJob(); });
}

TEST(ThisJob, ThrowsOutsideAJob) {
    EXPECT_EQ(TextOutside(), outsideText);
    std::string onOtherThread;
    std::thread([&] { onOtherThread = TextOutside(); }).join();
    EXPECT_EQ(onOtherThread, outsideText);
}

TEST(ThisJob, IsTheTicketThatTheStarterHolds) {
    CThreadPool pool;
    CJobTicket inside;
    const CJobTicket outside = pool.Start([&] { inside = thisJob(); });
    outside.Wait();
    EXPECT_TRUE(inside == outside);
}

TEST(ThisJob, IsTheTicketOfTheQueuedJobAndNotOfTheLoopThatRunsIt) {
    const auto pool = std::make_shared<CThreadPool>(1);
    CJobQueue queue(pool, 1);
    CJobTicket insideFirst, insideSecond;
    const CJobTicket first = queue.Queue([&] { insideFirst = thisJob(); });
    const CJobTicket second = queue.Queue([&] { insideSecond = thisJob(); });
    first.Wait();
    second.Wait();
    EXPECT_TRUE(insideFirst == first);
    EXPECT_TRUE(insideSecond == second);
}

TEST(ThisJob, IsKnownWhileTheCallableIsDestroyed) {
    CThreadPool pool;
    CJobTicket inside, outside;
    // The pool copies the job: the token ends with that copy once the original is gone.
    Event isOriginalGone;
    {
        const Job original([&, token = kq_test::OnDestruction([&] { inside = thisJob(); })] {
            isOriginalGone.Wait();
        });
        outside = pool.Start(original);
    }
    isOriginalGone.Set();
    outside.Wait();
    EXPECT_TRUE(inside == outside);
}

TEST(ThisJob, ThrowsOnTheSameThreadAfterTheJob) {
    // Each thread of the pool runs a function of ours after its last job: the end of its factory's
    // Job.
    std::mutex mutex;
    std::vector<std::string> afterwards;
    struct Thread final : CThread {
        Thread(const Job& function, std::function<void()> last)
            : thread_([this, function, last = std::move(last)] {
                  function();
                  last();
                  end_.Set();
              }) {}
        ~Thread() override { thread_.join(); }
        void Wait() const override { end_.Wait(); }
        bool IsFinished() const override { return end_.IsSet(); }

    private:
        Event end_;
        std::thread thread_;
    };
    {
        CThreadPool pool(1, [&](const Job& function) -> std::unique_ptr<CThread> {
            const auto last = [&] {
                const std::lock_guard guard(mutex);
                afterwards.push_back(TextOutside());
            };
            return std::make_unique<Thread>(function, last);
        });
        pool.Start([] {}).Wait();
        std::optional<std::string> error;
        pool.Start([] { throw 1; }).Wait(error);
    }
    ASSERT_FALSE(afterwards.empty());
    for (const std::string& text : afterwards)
        EXPECT_EQ(text, outsideText);
}

TEST(ThisJob, CanBeWaitedForByAJobThatItQueues) {
    const auto pool = std::make_shared<CThreadPool>(2);
    CJobQueue queue(pool, 1);
    bool outerHadEnded = false;
    CJobTicket inner;
    const CJobTicket outer = queue.Queue(
        [&] { inner = queue.Queue([&] { outerHadEnded = outer.Wait(0); }, after(thisJob())); });
    outer.Wait();
    inner.Wait();
    EXPECT_TRUE(outerHadEnded);
}

} // namespace
