// How long the work has run, on a clock that is turned by hand.
#include "progress/progress_impl.h"

#include "support/manual_clock.h"
#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

using kq::progress::EProgressStatus;
using kq_test::ManualClock;
using kq_test::Watch;
using namespace std::chrono_literals;

namespace {

class Elapsed : public testing::Test {
protected:
    double Last() const { return watch_.Last().elapsed; }

    ManualClock clock_;
    const std::unique_ptr<kq::progress::IProgressRoot> root_ =
        kq::progress::CreateRoot(clock_, L"root", true, true, 0.0, 0, {});
    const Watch watch_{*root_};
};

TEST_F(Elapsed, IsCountedFromTheCreation) {
    EXPECT_EQ(Last(), 0.0);
    clock_.Advance(2500ms);
    root_->Add(0.1);
    EXPECT_EQ(Last(), 2.5);
    clock_.Advance(1s);
    root_->Finish();
    EXPECT_EQ(Last(), 3.5);
}

TEST_F(Elapsed, IsInWholeMilliseconds) {
    clock_.Advance(1'999'999ns);
    root_->Add(0.1);
    EXPECT_EQ(Last(), 0.001);
    clock_.Advance(1ns);
    root_->Add(0.1);
    EXPECT_EQ(Last(), 0.002);
}

TEST_F(Elapsed, IsRefreshedByTheFractionTheTextsAndTheEnd) {
    double expected = 0;
    const auto expectRefresh = [&](auto change) {
        clock_.Advance(1s);
        expected += 1;
        change();
        EXPECT_EQ(Last(), expected);
        EXPECT_EQ(watch_.Now().elapsed, expected);
    };
    expectRefresh([&] { root_->Add(0.1); });
    expectRefresh([&] { root_->Set(0.2); });
    expectRefresh([&] { root_->Raise(0.3); });
    expectRefresh([&] { root_->SetText(L"text"); });
    expectRefresh([&] { root_->SetNote1(L"note"); });
    expectRefresh([&] { root_->SetNote2(L"note"); });
    expectRefresh([&] { root_->SetNote3(L"note"); });
    expectRefresh([&] { root_->SetNote4(L"note"); });
    expectRefresh([&] { root_->Finish(); });
    expectRefresh([&] { root_->Fail(nullptr); });
}

TEST_F(Elapsed, IsNotRefreshedByTheRest) {
    clock_.Advance(1s);
    std::size_t changes = 0;
    const auto expectNoRefresh = [&](auto change) {
        change();
        EXPECT_EQ(watch_.Publications(), ++changes);
        EXPECT_EQ(Last(), 0.0);
    };
    expectNoRefresh([&] { root_->SetName(L"name"); });
    expectNoRefresh([&] { root_->SetCancelable(false); });
    expectNoRefresh([&] { root_->SetCancelable(true); });
    expectNoRefresh([&] { root_->SetSuspendable(false); });
    expectNoRefresh([&] { root_->SetSuspendable(true); });
    expectNoRefresh([&] { root_->SetUserValue(1); });
    expectNoRefresh([&] { root_->SetMeasure(1.0); });
    std::shared_ptr<void> phase;
    expectNoRefresh([&] { phase = root_->Indeterminate(); });
    expectNoRefresh([&] { phase.reset(); });
    expectNoRefresh([&] { watch_.signaler->SuspendNow(); });
    expectNoRefresh([&] { watch_.signaler->ResumeNow(); });
    expectNoRefresh([&] { watch_.signaler->Cancel(); });
}

TEST_F(Elapsed, LeavesOutTheTimeOfASuspension) {
    clock_.Advance(1s);
    watch_.signaler->SuspendNow();
    clock_.Advance(10s);
    root_->SetText(L"while it is suspended");
    EXPECT_EQ(Last(), 1.0);
    clock_.Advance(10s);
    watch_.signaler->ResumeNow();
    clock_.Advance(2s);
    root_->Add(0.1);
    EXPECT_EQ(Last(), 3.0);
    watch_.signaler->SuspendNow();
    clock_.Advance(10s);
    watch_.signaler->ResumeNow();
    root_->Add(0.1);
    EXPECT_EQ(Last(), 3.0);
}

TEST_F(Elapsed, StandsStillWhenASuspendedRootFinishes) {
    clock_.Advance(1500ms);
    watch_.signaler->SuspendNow();
    clock_.Advance(10s);
    root_->Finish();
    EXPECT_EQ(watch_.Last().status, EProgressStatus::Finished);
    EXPECT_EQ(Last(), 1.5);
}

TEST_F(Elapsed, StandsStillWhenASuspendedRootIsCancelled) {
    clock_.Advance(1500ms);
    watch_.signaler->SuspendNow();
    watch_.signaler->Cancel();
    clock_.Advance(10s);
    root_->Finish();
    EXPECT_EQ(watch_.Last().status, EProgressStatus::Cancelled);
    EXPECT_EQ(Last(), 1.5);
}

} // namespace
