// How amounts and shares add up to the fraction of a root.
#include <kq/progress/progress.h>

#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

using kq::progress::EProgressStatus;
using kq::progress::IProgress;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class Fraction : public testing::Test {
protected:
    double Now() const { return watch_.Now().progress; }

    const std::unique_ptr<kq::progress::IProgressRoot> root_ = MakeRoot();
    const Watch watch_{*root_};
};

TEST_F(Fraction, BeginsAtZero) {
    EXPECT_EQ(root_->GetDone(), 0.0);
    EXPECT_EQ(root_->GetRemaining(), 1.0);
    EXPECT_EQ(Now(), 0.0);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Active);
}

TEST_F(Fraction, AddingRaisesIt) {
    root_->Add(0.25);
    root_->Add(0.5);
    EXPECT_EQ(root_->GetDone(), 0.75);
    EXPECT_EQ(root_->GetRemaining(), 0.25);
    EXPECT_EQ(Now(), 0.75);
    root_->Add(-0.5);
    EXPECT_EQ(root_->GetDone(), 0.25);
    EXPECT_EQ(Now(), 0.25);
}

TEST_F(Fraction, StopsAtExactlyOne) {
    root_->Add(0.75);
    root_->Add(0.75);
    EXPECT_EQ(Now(), 1.0);
    EXPECT_EQ(root_->GetDone(), 1.5) << "only the root's fraction is bounded";
    EXPECT_EQ(root_->GetRemaining(), -0.5);
}

TEST_F(Fraction, HasNoLowerBoundOnPurpose) {
    root_->Add(-2.0);
    EXPECT_EQ(Now(), -2.0);
}

TEST_F(Fraction, SettingMayLowerIt) {
    root_->Set(0.5);
    EXPECT_EQ(Now(), 0.5);
    root_->Set(0.25);
    EXPECT_EQ(root_->GetDone(), 0.25);
    EXPECT_EQ(Now(), 0.25);
}

TEST_F(Fraction, SettingAShareMovesTheRootByItsWeight) {
    const auto share = root_->CreateChild(0.5, L"");
    share->Set(0.5);
    EXPECT_EQ(Now(), 0.25);
    share->Set(0.25);
    EXPECT_EQ(Now(), 0.125);
}

TEST_F(Fraction, RaisingNeverLowersIt) {
    root_->Raise(0.5);
    EXPECT_EQ(root_->GetDone(), 0.5);
    root_->Raise(0.25);
    EXPECT_EQ(root_->GetDone(), 0.5);
    EXPECT_EQ(Now(), 0.5);
    const auto share = root_->CreateChild(0.25, L"");
    share->Raise(0.5);
    share->Raise(0.5);
    EXPECT_EQ(Now(), 0.625);
}

TEST_F(Fraction, AChildReservesItsShare) {
    auto share = root_->CreateChild(0.25, L"");
    EXPECT_EQ(root_->GetDone(), 0.25);
    EXPECT_EQ(Now(), 0.0) << "nothing has been done yet";
    EXPECT_EQ(share->GetDone(), 0.0);
    share->Add(0.5);
    EXPECT_EQ(share->GetDone(), 0.5);
    EXPECT_EQ(Now(), 0.125);
    root_->CreateChild(2.0, L"");
    EXPECT_EQ(root_->GetDone(), 1.0) << "no more than all";
}

TEST_F(Fraction, ADestroyedShareIsComplete) {
    auto share = root_->CreateChild(0.5, L"");
    share->Add(0.25);
    share.reset();
    EXPECT_EQ(Now(), 0.5);
}

TEST_F(Fraction, AFinishedShareIsCompleteAndKeepsWhatItHadDone) {
    const auto share = root_->CreateChild(0.5, L"");
    share->Add(0.25);
    share->Finish();
    EXPECT_EQ(Now(), 0.5);
    EXPECT_EQ(share->GetDone(), 0.25);
}

TEST_F(Fraction, AShareThatIsFinishedAndThenDestroyedAddsTwiceOnPurpose) {
    auto share = root_->CreateChild(0.25, L"");
    share->Finish();
    EXPECT_EQ(Now(), 0.25);
    share.reset();
    EXPECT_EQ(Now(), 0.5);
}

TEST_F(Fraction, SharesOfSharesMultiply) {
    const auto half = root_->CreateChild(0.5, L"");
    const auto quarter = half->CreateChild(0.5, L"");
    const auto eighth = quarter->CreateChild(0.5, L"");
    eighth->Add(1.0);
    EXPECT_EQ(Now(), 0.125);
    EXPECT_EQ(half->GetDone(), 0.5);
    EXPECT_EQ(quarter->GetDone(), 0.5);
}

TEST_F(Fraction, AShareMayOutliveItsParents) {
    auto half = root_->CreateChild(0.5, L"");
    const auto quarter = half->CreateChild(0.5, L"");
    half.reset();
    EXPECT_EQ(Now(), 0.25) << "what was not reserved";
    quarter->Add(0.5);
    EXPECT_EQ(Now(), 0.375);
}

TEST_F(Fraction, AddingToAFinishedRootStaysAtOne) {
    root_->Finish();
    root_->Add(0.5);
    EXPECT_EQ(Now(), 1.0);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Finished);
}

TEST_F(Fraction, ANanStaysUntilTheEnd) {
    root_->Add(nan);
    EXPECT_TRUE(std::isnan(Now()));
    EXPECT_TRUE(std::isnan(root_->GetDone()));
    root_->Add(0.5);
    EXPECT_TRUE(std::isnan(Now()));
    root_->Finish();
    EXPECT_EQ(Now(), 1.0);
}

TEST_F(Fraction, ANanFlowsThroughEveryWayIn) {
    const auto share = root_->CreateChild(nan, L"");
    EXPECT_TRUE(std::isnan(root_->GetDone()));
    share->Add(0.5);
    EXPECT_TRUE(std::isnan(Now()));
    for (const auto& step : std::vector<std::function<void(IProgress&)>>{
             [](IProgress& progress) { progress.Set(nan); },
             [](IProgress& progress) { progress.Raise(nan); }}) {
        const auto other = MakeRoot();
        const Watch watch(*other);
        step(*other);
        EXPECT_TRUE(std::isnan(watch.Now().progress));
    }
}

// 0.001 is no binary fraction, and a thousand of them are not 1.0: the bound and the remainder of
// each level make it exact.
TEST_F(Fraction, AThousandSharesNestedThreeDeepEndAtExactlyOne) {
    for (int i = 0; i != 1'000; ++i) {
        const auto outer = root_->CreateChild(0.001, L"");
        const auto middle = outer->CreateChild(1.0, L"");
        const auto inner = middle->CreateChild(1.0, L"");
        inner->Add(0.3);
    }
    EXPECT_EQ(root_->GetDone(), 1.0);
    EXPECT_EQ(Now(), 1.0);
    root_->Finish();
    EXPECT_EQ(Now(), 1.0);
}

TEST_F(Fraction, AThousandSharesAtTheThirdLevelEndAtExactlyOne) {
    {
        const auto outer = root_->CreateChild(1.0, L"");
        const auto middle = outer->CreateChild(1.0, L"");
        for (int i = 0; i != 1'000; ++i)
            middle->CreateChild(0.001, L"");
        EXPECT_EQ(Now(), 1.0);
    }
    EXPECT_EQ(Now(), 1.0);
}

TEST_F(Fraction, AThousandSharesAtEveryLevelEndAtExactlyOne) {
    constexpr double share = 0.001;
    const std::function<void(IProgress&, int)> divide = [&](IProgress& progress, int depth) {
        for (int i = 0; i != 1'000; ++i) {
            const auto part = progress.CreateChild(share, L"");
            if (depth != 1 && i % 250 == 0) // a few of them in depth, the rest at once
                divide(*part, depth - 1);
        }
    };
    divide(*root_, 3);
    root_->Finish();
    EXPECT_EQ(Now(), 1.0);
    EXPECT_EQ(watch_.Last().progress, 1.0);
    for (const auto& state : watch_.states)
        ASSERT_LE(state.progress, 1.0);
}

} // namespace
