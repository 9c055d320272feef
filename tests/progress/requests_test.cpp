// Cancelling, suspending and resuming, as the work hears them and as observers see them.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using kq::progress::EProgressStatus;
using kq::progress::ERequest;
using kq::progress::ProgressState;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

class Requests : public testing::Test {
protected:
    void Listen() {
        listener_ = root_->ConnectRequests([this](ERequest request) { heard_.push_back(request); });
    }
    EProgressStatus Status() const { return watch_.Last().status; }

    const std::unique_ptr<kq::progress::IProgressRoot> root_ = MakeRoot();
    const Watch watch_{*root_};
    kq::progress::IProgressSignaler& signaler_ = *watch_.signaler;
    std::vector<ERequest> heard_;
    std::shared_ptr<void> listener_;
};

TEST_F(Requests, ReachTheWork) {
    Listen();
    signaler_.SuspendNow();
    EXPECT_EQ(Status(), EProgressStatus::Suspended);
    signaler_.ResumeNow();
    EXPECT_EQ(Status(), EProgressStatus::Active);
    EXPECT_FALSE(root_->IsCancelling());
    signaler_.Cancel();
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
    EXPECT_TRUE(root_->IsCancelling());
    EXPECT_EQ(heard_,
              (std::vector<ERequest>{ERequest::Suspend, ERequest::Resume, ERequest::Cancel}));
}

TEST_F(Requests, ReachSharesAndEndWithTheConnection) {
    const auto share = root_->CreateChild(0.5, L"");
    std::shared_ptr<void> connection =
        share->ConnectRequests([this](ERequest request) { heard_.push_back(request); });
    signaler_.SuspendNow();
    connection.reset();
    signaler_.ResumeNow();
    EXPECT_EQ(heard_, std::vector<ERequest>{ERequest::Suspend});
    EXPECT_FALSE(share->IsCancelling());
    signaler_.Cancel();
    EXPECT_TRUE(share->IsCancelling());
}

TEST_F(Requests, ThatAreNotAllowedDoNothing) {
    Listen();
    root_->SetSuspendable(false);
    root_->SetCancelable(false);
    const std::size_t before = watch_.Publications();
    EXPECT_FALSE(signaler_.CanSuspend());
    EXPECT_FALSE(signaler_.CanCancel());
    signaler_.SuspendNow();
    signaler_.Cancel();
    signaler_.ResumeNow();
    EXPECT_TRUE(heard_.empty());
    EXPECT_EQ(watch_.Publications(), before);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Active);
}

TEST_F(Requests, AfterTheEndDoNothing) {
    Listen();
    root_->Finish();
    const std::size_t before = watch_.Publications();
    EXPECT_FALSE(signaler_.CanSuspend());
    EXPECT_FALSE(signaler_.CanCancel());
    signaler_.Cancel();
    signaler_.SuspendNow();
    signaler_.ResumeNow();
    EXPECT_TRUE(heard_.empty());
    EXPECT_EQ(watch_.Publications(), before);
    EXPECT_EQ(Status(), EProgressStatus::Finished);
}

TEST_F(Requests, AreTakenOnce) {
    Listen();
    signaler_.SuspendNow();
    signaler_.SuspendNow();
    EXPECT_EQ(heard_.size(), 1u);
    signaler_.ResumeNow();
    signaler_.ResumeNow();
    EXPECT_EQ(heard_.size(), 2u);
    signaler_.Cancel();
    signaler_.Cancel();
    EXPECT_EQ(heard_.size(), 3u);
    EXPECT_EQ(watch_.Publications(), 3u);
}

TEST_F(Requests, NothingSuspendsWorkThatIsCancelling) {
    Listen();
    signaler_.Cancel();
    EXPECT_FALSE(signaler_.CanSuspend());
    EXPECT_FALSE(signaler_.CanCancel());
    signaler_.SuspendNow();
    signaler_.ResumeNow();
    EXPECT_EQ(heard_, std::vector<ERequest>{ERequest::Cancel});
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
}

TEST_F(Requests, SuspendedWorkCanBeCancelled) {
    signaler_.SuspendNow();
    EXPECT_FALSE(signaler_.CanSuspend());
    EXPECT_TRUE(signaler_.CanCancel());
    signaler_.Cancel();
    EXPECT_EQ(Status(), EProgressStatus::Cancelling);
}

TEST_F(Requests, CancelledWorkEndsAsCancelled) {
    signaler_.Cancel();
    root_->Finish();
    EXPECT_EQ(Status(), EProgressStatus::Cancelled);
    EXPECT_FALSE(root_->IsCancelling());
    EXPECT_EQ(watch_.Last().progress, 1.0);
}

TEST_F(Requests, SuspendedWorkMayFinish) {
    signaler_.SuspendNow();
    root_->Finish();
    EXPECT_EQ(Status(), EProgressStatus::Finished);
}

TEST_F(Requests, AFailureOverridesEverything) {
    const std::vector<std::function<void()>> ways{[] {}, [this] { signaler_.SuspendNow(); },
                                                  [this] { signaler_.Cancel(); },
                                                  [this] { root_->Finish(); }};
    for (const auto& way : ways) {
        way();
        root_->Fail(std::make_exception_ptr(1));
        EXPECT_EQ(Status(), EProgressStatus::Failed);
        EXPECT_FALSE(signaler_.CanCancel());
    }
    root_->Finish();
    EXPECT_EQ(Status(), EProgressStatus::Failed);
}

TEST_F(Requests, ToSuspendAndCancelAreSeenBeforeTheyAreHeard) {
    std::string order;
    const auto observer = signaler_.Connect([&](ProgressState const&) { order += "seen "; });
    listener_ = root_->ConnectRequests([&](ERequest) { order += "heard "; });
    order.clear();
    signaler_.SuspendNow();
    EXPECT_EQ(order, "seen heard ");
    order.clear();
    signaler_.Cancel();
    EXPECT_EQ(order, "seen heard ");
}

TEST_F(Requests, ToResumeIsHeardBeforeItIsSeenOnPurpose) {
    std::string order;
    const auto observer = signaler_.Connect([&](ProgressState const&) { order += "seen "; });
    EProgressStatus whenHeard = EProgressStatus::Active;
    listener_ = root_->ConnectRequests([&](ERequest request) {
        order += "heard ";
        if (request == ERequest::Resume) {
            whenHeard = signaler_.GetState().status;
            EXPECT_TRUE(signaler_.CanSuspend()) << "it goes on already";
        }
    });
    signaler_.SuspendNow();
    order.clear();
    signaler_.ResumeNow();
    EXPECT_EQ(order, "heard seen ");
    EXPECT_EQ(whenHeard, EProgressStatus::Suspended) << "the status as last published";
    EXPECT_EQ(Status(), EProgressStatus::Active);
}

TEST_F(Requests, AListenerMaySuspendWhatIsJustResumed) {
    bool again = true;
    listener_ = root_->ConnectRequests([&](ERequest request) {
        heard_.push_back(request);
        if (request == ERequest::Resume && std::exchange(again, false))
            signaler_.SuspendNow();
    });
    signaler_.SuspendNow();
    signaler_.ResumeNow();
    EXPECT_EQ(heard_,
              (std::vector<ERequest>{ERequest::Suspend, ERequest::Resume, ERequest::Suspend}));
    EXPECT_EQ(Status(), EProgressStatus::Suspended);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Suspended);
}

TEST_F(Requests, AnEmptyListenerThrowsWhenSomethingIsAsked) {
    listener_ = root_->ConnectRequests({});
    EXPECT_THROW(signaler_.SuspendNow(), std::bad_function_call);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Suspended);
    EXPECT_THROW(signaler_.ResumeNow(), std::bad_function_call);
    EXPECT_EQ(Status(), EProgressStatus::Active) << "it is published all the same";
    listener_.reset();
    signaler_.Cancel();
}

TEST_F(Requests, ReachTheWorkAlsoWhenAnObserverThrows) {
    Listen();
    const auto observer = signaler_.Connect([](ProgressState const& state) {
        if (state.status != EProgressStatus::Active)
            throw std::runtime_error("no");
    });
    EXPECT_THROW(signaler_.SuspendNow(), std::runtime_error);
    signaler_.ResumeNow();
    EXPECT_THROW(signaler_.Cancel(), std::runtime_error);
    EXPECT_EQ(heard_,
              (std::vector<ERequest>{ERequest::Suspend, ERequest::Resume, ERequest::Cancel}));
}

} // namespace
