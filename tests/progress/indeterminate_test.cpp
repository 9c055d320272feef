// Phases whose extent is not known.
#include <kq/progress/progress.h>

#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using kq::progress::EProgressStatus;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

TEST(Indeterminate, LastsAsLongAsTheToken) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> phase = root->Indeterminate();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Indeterminate);
    std::shared_ptr<void> copy = phase;
    phase.reset();
    EXPECT_EQ(watch.Publications(), 1u);
    copy.reset();
    EXPECT_EQ(watch.Publications(), 2u);
    EXPECT_EQ(watch.Last().status, EProgressStatus::Active);
}

TEST(Indeterminate, APhaseThatIsOpenedTwiceAndClosedOnceIsOpen) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> first = root->Indeterminate();
    std::shared_ptr<void> second = root->CreateChild(0.5, L"")->Indeterminate();
    const std::size_t before = watch.Publications();
    first.reset();
    EXPECT_EQ(watch.Publications(), before);
    EXPECT_EQ(watch.Now().status, EProgressStatus::Indeterminate);
    second.reset();
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
}

TEST(Indeterminate, DoesNotPreventSuspending) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> phase = root->Indeterminate();
    EXPECT_TRUE(watch.signaler->CanSuspend());
    watch.signaler->SuspendNow();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Suspended);
    watch.signaler->ResumeNow();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Indeterminate);
    watch.signaler->Cancel();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Cancelling);
    phase.reset();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Cancelling);
}

TEST(Indeterminate, MayOutliveTheRoot) {
    std::shared_ptr<void> phase;
    {
        const auto root = MakeRoot();
        phase = root->Indeterminate();
    }
    phase.reset();
    auto root = MakeRoot();
    const Watch watch(*root);
    phase = root->Indeterminate();
    root.reset();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Finished);
    phase.reset();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Finished);
}

TEST(Indeterminate, ThrowingObserversDoNotLeaveItOpen) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> thrower =
        watch.signaler->Connect([](const kq::progress::ProgressState& state) {
            if (state.status == EProgressStatus::Indeterminate)
                throw std::runtime_error("no");
        });
    EXPECT_THROW(root->Indeterminate(), std::runtime_error);
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
}

TEST(Indeterminate, SwallowsWhatObserversThrowAtItsEnd) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> phase = root->Indeterminate();
    std::shared_ptr<void> thrower =
        watch.signaler->Connect([](const kq::progress::ProgressState& state) {
            if (state.status == EProgressStatus::Active)
                throw std::runtime_error("no");
        });
    EXPECT_NO_THROW(phase.reset());
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
}

} // namespace
