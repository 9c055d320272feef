// How long what a UI queue and its window share is kept.
#include "concurrency/ui_queue_core.h"

#include <kq/concurrency/job_terms.h>
#include <kq/win32/message_pump.h>

#include "support/ui_messages.h"

#include <gtest/gtest.h>

#include <memory>

using namespace kq::concurrency;

namespace {

std::shared_ptr<CQueueJobAdapter> MakeJob(const Job& job,
                                          const std::shared_ptr<CJobTermsImpl>& terms = {}) {
    return std::make_shared<CQueueJobAdapter>(Job(job), Gate::Make(terms));
}

TEST(UIQueueCore, OutlivesTheMessageWhoseJobLetsGoOfIt) {
    std::shared_ptr<UIQueueCore> core = UIQueueCore::Make();
    const std::weak_ptr<UIQueueCore> watched = core;
    bool hasRun = false;
    core->Queue(MakeJob([&] {
                    core->Close();
                    core.reset();
                    EXPECT_FALSE(watched.expired());
                    hasRun = true;
                }),
                false);
    kq::win32::PumpMessageQueue();
    EXPECT_TRUE(hasRun);
    EXPECT_TRUE(watched.expired());
}

TEST(UIQueueCore, OutlivesTheTickWhoseJobLetsGoOfIt) {
    std::shared_ptr<UIQueueCore> core = UIQueueCore::Make();
    const std::weak_ptr<UIQueueCore> watched = core;
    bool isOpen = false;
    core->Queue(MakeJob(
                    [&] {
                        core->Close();
                        core.reset();
                        EXPECT_FALSE(watched.expired());
                    },
                    condition([&] { return isOpen ? StartInfo::Start : StartInfo::Postpone; })),
                false);
    kq::win32::PumpMessageQueue();
    isOpen = true;
    kq_test::DispatchUntil([&] { return core == nullptr; });
    EXPECT_TRUE(watched.expired());
}

TEST(UIQueueCore, IsNotKeptByJobsThatWaitedForTickets) {
    const std::shared_ptr<UIQueueCore> other = UIQueueCore::Make();
    const CJobTicket unfinished = other->Queue(MakeJob([] {}), false);
    std::shared_ptr<UIQueueCore> core = UIQueueCore::Make();
    const std::weak_ptr<UIQueueCore> watched = core;
    CJobTicket waiting = core->Queue(MakeJob([] {}, after(unfinished)), false);
    kq::win32::PumpMessageQueue(core->Window());
    core->Close();
    core.reset();
    EXPECT_TRUE(watched.expired());
    kq::win32::PumpMessageQueue();
    EXPECT_TRUE(unfinished.Wait(0));
    other->Close();
}

TEST(UIQueueCore, EndsAtOnceWhatIsQueuedAfterItsEnd) {
    const std::shared_ptr<UIQueueCore> core = UIQueueCore::Make();
    core->Close();
    EXPECT_EQ(core->Window(), nullptr);
    bool hasRun = false;
    const CJobTicket ticket = core->Queue(MakeJob([&] { hasRun = true; }), false);
    EXPECT_TRUE(ticket.Wait(0));
    EXPECT_FALSE(hasRun);
    core->Close();
}

} // namespace
