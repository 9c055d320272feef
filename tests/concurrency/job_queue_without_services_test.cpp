// A host's own queue while the library's services are not installed.
#include <kq/concurrency/job_queue.h>
#include <kq/library.h>

#include "support/on_destruction.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>

using namespace kq::concurrency;

// Not exported; the text names it.
namespace kq::concurrency {
class CUIJobQueueImpl {};
} // namespace kq::concurrency

namespace {

const std::string missingUIQueue = std::string("Singleton instance of ") +
                                   typeid(kq::concurrency::CUIJobQueueImpl).name() +
                                   " does not exists!";

class JobQueueWithoutServices : public testing::Test {
protected:
    JobQueueWithoutServices() { kq::Shutdown(); }
    ~JobQueueWithoutServices() override { kq::Startup(); }

    CJobQueue queue{std::make_shared<CThreadPool>(1), 1};
};

TEST_F(JobQueueWithoutServices, RunsJobsOfBothLanes) {
    EXPECT_TRUE(queue.Queue([] {}).Wait(30'000));
    EXPECT_TRUE(queue.Queue([] {}, isBlocking).Wait(30'000));
}

TEST_F(JobQueueWithoutServices, RefusesUIJobsAndLetsGoOfThem) {
    for (const auto& terms : {inUI, inUIAsync, isBlocking & inUI}) {
        bool isGone = false;
        bool ran = false;
        auto token = kq_test::OnDestruction([&] { isGone = true; });
        EXPECT_EQ(ThrownText<std::runtime_error>(
                      [&] { queue.Queue([&ran, held = std::move(token)] { ran = true; }, terms); }),
                  missingUIQueue);
        EXPECT_TRUE(isGone);
        EXPECT_FALSE(ran);
    }
}

TEST_F(JobQueueWithoutServices, CannotRemove) {
    const CJobTicket done = queue.Queue([] {});
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { queue.Remove(done); }), missingUIQueue);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { queue.Remove(CJobTicket()); }), missingUIQueue);
}

} // namespace
