// Roots whose progress flows into another root.
#include <kq/progress/progress.h>

#include "support/hand_shake.h"
#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <typeinfo>

using kq::progress::EProgressStatus;
using kq::progress::IProgressRoot;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

class Attach : public testing::Test {
protected:
    double Now() const { return watch_.Now().progress; }
    EProgressStatus Status() const { return watch_.Now().status; }
    static EProgressStatus StatusOf(IProgressRoot& root) { return Watch(root).Now().status; }

    std::unique_ptr<IProgressRoot> root_ = MakeRoot();
    std::unique_ptr<IProgressRoot> child_ = MakeRoot();
    const Watch watch_{*root_};
};

TEST_F(Attach, TheChildsProgressFlowsIn) {
    root_->Attach(*child_, 0.5);
    EXPECT_EQ(root_->GetDone(), 0.5);
    EXPECT_EQ(Now(), 0.0);
    child_->Add(0.5);
    EXPECT_EQ(Now(), 0.25);
    child_->Set(0.25);
    EXPECT_EQ(Now(), 0.125);
    child_->Finish();
    EXPECT_EQ(Now(), 0.5);
}

TEST_F(Attach, WhatTheChildHasDoneBeforeFlowsInAtOnce) {
    child_->Add(0.5);
    root_->Attach(*child_, 0.5);
    EXPECT_EQ(Now(), 0.25);
}

TEST_F(Attach, OnlyWhatTheChildPublishesFlowsIn) {
    child_ = MakeRoot(0.5);
    child_->Add(0.6);
    child_->Add(0.1);
    root_->Attach(*child_, 1.0);
    EXPECT_EQ(Now(), 0.6);
    child_->Add(0.1);
    EXPECT_EQ(Now(), 0.6);
    child_->SetText(L"anything");
    EXPECT_DOUBLE_EQ(Now(), 0.8);
}

TEST_F(Attach, TheWeightOnAShareIsTheBareShareOnPurpose) {
    const auto share = root_->CreateChild(0.25, L"");
    share->Attach(*child_, 0.5);
    EXPECT_EQ(share->GetDone(), 0.5);
    child_->Finish();
    EXPECT_EQ(Now(), 0.5) << "not 0.5 of 0.25";
}

TEST_F(Attach, ReservesNoMoreThanAll) {
    root_->Add(0.75);
    root_->Attach(*child_, 0.5);
    EXPECT_EQ(root_->GetDone(), 1.0);
}

TEST_F(Attach, ToItselfDoesNothing) {
    root_->Attach(*root_, 0.5);
    EXPECT_EQ(root_->GetDone(), 0.0);
    EXPECT_EQ(watch_.Publications(), 0u);
    const auto share = root_->CreateChild(0.5, L"");
    share->Attach(*share, 0.5);
    EXPECT_EQ(share->GetDone(), 0.0);
}

TEST_F(Attach, ToAShareIsNotPossible) {
    const auto share = child_->CreateChild(0.5, L"");
    EXPECT_THROW(root_->Attach(*share, 0.5), std::bad_cast);
    EXPECT_EQ(root_->GetDone(), 0.5) << "is reserved before the child is looked at";
    share->Finish();
    EXPECT_EQ(Now(), 0.0);
}

TEST_F(Attach, TheNextOneReplacesTheOneBefore) {
    root_->Attach(*child_, 0.5);
    child_->Add(0.5);
    const auto next = MakeRoot();
    root_->Attach(*next, 0.25);
    child_->Add(0.5);
    EXPECT_EQ(Now(), 0.25) << "what it has added stays, and no more comes";
    next->Add(1.0);
    EXPECT_EQ(Now(), 0.5);
    watch_.signaler->Cancel();
    EXPECT_EQ(StatusOf(*next), EProgressStatus::Cancelling);
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Active);
}

TEST_F(Attach, EndsWithTheProgressObject) {
    auto share = root_->CreateChild(0.5, L"");
    share->Attach(*child_, 0.5);
    share.reset();
    const double before = Now();
    child_->Add(0.5);
    EXPECT_EQ(Now(), before);
}

TEST_F(Attach, EndsWhenAShareFinishes) {
    const auto share = root_->CreateChild(0.5, L"");
    share->Attach(*child_, 0.5);
    share->Finish();
    const double before = Now();
    child_->Add(0.5);
    EXPECT_EQ(Now(), before);
}

TEST_F(Attach, EndsWhenTheParentFails) {
    root_->Attach(*child_, 0.5);
    root_->Fail(std::make_exception_ptr(1));
    child_->Add(0.5);
    EXPECT_EQ(Now(), 0.0);
}

TEST_F(Attach, EitherMayGoFirst) {
    root_->Attach(*child_, 0.5);
    child_->Add(0.5);
    child_.reset();
    EXPECT_EQ(Now(), 0.5) << "it has finished in its destructor";
    root_->Add(0.25);
    EXPECT_EQ(Now(), 0.75);

    child_ = MakeRoot();
    root_->Attach(*child_, 0.125);
    root_.reset();
    child_->Add(0.5);
    EXPECT_EQ(Watch(*child_).Now().progress, 0.5);
}

TEST_F(Attach, TheChildsSignalerOutlivesBoth) {
    root_->Attach(*child_, 0.5);
    const Watch ofChild(*child_);
    child_.reset();
    root_.reset();
    ofChild.signaler->Cancel();
    ofChild.signaler->ResumeNow();
    EXPECT_EQ(ofChild.Now().status, EProgressStatus::Finished);
    EXPECT_EQ(Status(), EProgressStatus::Finished);
}

TEST_F(Attach, CancellingTheParentCancelsTheChild) {
    root_->Attach(*child_, 0.5);
    watch_.signaler->Cancel();
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Cancelling);
}

TEST_F(Attach, CancellingTheChildCancelsTheParent) {
    root_->Attach(*child_, 0.5);
    Watch(*child_).signaler->Cancel();
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Cancelling);
}

TEST_F(Attach, CancellingTravelsThroughTheWholeTree) {
    const auto grandchild = MakeRoot();
    const auto sibling = MakeRoot();
    const auto share = root_->CreateChild(0.5, L"");
    root_->Attach(*child_, 0.5);
    share->Attach(*sibling, 0.5);
    child_->Attach(*grandchild, 0.5);
    int requests = 0;
    std::vector<std::shared_ptr<void>> listeners;
    for (IProgressRoot* root : {root_.get(), child_.get(), grandchild.get(), sibling.get()})
        listeners.push_back(root->ConnectRequests([&](kq::progress::ERequest request) {
            EXPECT_EQ(request, kq::progress::ERequest::Cancel);
            ++requests;
        }));
    Watch(*grandchild).signaler->Cancel();
    for (IProgressRoot* root : {root_.get(), child_.get(), grandchild.get(), sibling.get()})
        EXPECT_EQ(StatusOf(*root), EProgressStatus::Cancelling);
    EXPECT_EQ(requests, 4);
}

TEST_F(Attach, AParentThatIsCancellingCancelsTheChildAtOnce) {
    watch_.signaler->Cancel();
    root_->Attach(*child_, 0.5);
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Cancelling);
}

TEST_F(Attach, AChildThatIsCancellingCancelsTheParentAtOnce) {
    Watch(*child_).signaler->Cancel();
    root_->Attach(*child_, 0.5);
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
}

TEST_F(Attach, AChildThatCannotBeCancelledGoesOn) {
    child_->SetCancelable(false);
    root_->Attach(*child_, 0.5);
    watch_.signaler->Cancel();
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Active);
}

TEST_F(Attach, AParentThatCannotBeCancelledGoesOn) {
    root_->SetCancelable(false);
    root_->Attach(*child_, 0.5);
    Watch(*child_).signaler->Cancel();
    EXPECT_EQ(Status(), EProgressStatus::Active);
    child_->Finish();
    EXPECT_EQ(Now(), 0.5) << "a cancelled child has ended too";
}

TEST_F(Attach, SuspendingAndFailingStayWhereTheyAre) {
    root_->Attach(*child_, 0.5);
    watch_.signaler->SuspendNow();
    EXPECT_EQ(StatusOf(*child_), EProgressStatus::Active);
    watch_.signaler->ResumeNow();
    child_->Fail(std::make_exception_ptr(1));
    EXPECT_EQ(Status(), EProgressStatus::Active);
}

TEST_F(Attach, ANanOfTheChildFlowsIn) {
    root_->Attach(*child_, 0.5);
    child_->Add(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(Now() != Now());
}

TEST_F(Attach, APublicationWithinAPublicationCountsOnce) {
    const Watch ofChild(*child_);
    // Is called before the link: for the link the newer publication comes first.
    std::shared_ptr<void> nesting =
        ofChild.signaler->Connect([&](kq::progress::ProgressState const& state) {
            if (state.progress == 0.25)
                child_->Add(0.5);
        });
    root_->Attach(*child_, 0.5);
    child_->Add(0.25);
    EXPECT_EQ(ofChild.Now().progress, 0.75);
    EXPECT_EQ(Now(), 0.375);
}

TEST_F(Attach, APublicationThatIsOvertakenByAnotherThreadCountsOnce) {
    const auto first = child_->CreateChild(0.5, L"");
    const auto second = child_->CreateChild(0.5, L"");
    kq_test::Event isHeld;
    kq_test::Event mayGo;
    const Watch ofChild(*child_);
    std::shared_ptr<void> holding = kq::progress::CreateSignaler(*child_)->Connect(
        [&](kq::progress::ProgressState const& state) {
            if (state.progress == 0.25) {
                isHeld.Set();
                mayGo.Wait("the publication that overtakes");
            }
        });
    root_->Attach(*child_, 0.5);
    kq_test::ReturnsInTime("two publications", [&] {
        std::thread overtaken([&] { first->Add(0.5); });
        isHeld.Wait("the first publication");
        second->Add(0.5);
        EXPECT_EQ(Now(), 0.25);
        mayGo.Set();
        overtaken.join();
    });
    EXPECT_EQ(Now(), 0.25) << "the older value does not take back the newer one";
}

TEST_F(Attach, AnObserverOfTheParentThatThrowsLosesNothing) {
    root_->Attach(*child_, 0.5);
    std::shared_ptr<void> thrower =
        watch_.signaler->Connect([](kq::progress::ProgressState const& state) {
            if (state.progress > 0.0)
                throw std::runtime_error("no");
        });
    EXPECT_THROW(child_->Add(0.5), std::runtime_error);
    EXPECT_EQ(Now(), 0.25);
    thrower.reset();
    child_->Add(0.5);
    EXPECT_EQ(Now(), 0.5);
}

} // namespace
