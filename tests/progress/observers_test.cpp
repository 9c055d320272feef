// Observers that throw, that come and go while they are called, and that change what they observe.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include "support/progress_watch.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using kq::progress::EProgressStatus;
using kq::progress::ProgressState;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

class Observers : public testing::Test {
protected:
    /// Throws at every publication from now on.
    void ConnectThrower() {
        auto armed = std::make_shared<bool>(false);
        thrower_ = watch_.signaler->Connect([armed](ProgressState const&) {
            if (*armed)
                throw std::runtime_error("observer");
        });
        *armed = true;
    }
    template <class Change>
    void ExpectThrown(Change change) {
        EXPECT_EQ(ThrownText<std::runtime_error>(change), "observer");
    }

    std::unique_ptr<kq::progress::IProgressRoot> root_ = MakeRoot();
    const Watch watch_{*root_};
    std::shared_ptr<void> thrower_;
};

TEST_F(Observers, WhatTheyThrowLeavesTheCallAndTheChangeStays) {
    ConnectThrower();
    ExpectThrown([&] { root_->Add(0.25); });
    ExpectThrown([&] { root_->Set(0.5); });
    ExpectThrown([&] { root_->Raise(0.75); });
    EXPECT_EQ(root_->GetDone(), 0.75);
    EXPECT_EQ(watch_.Now().progress, 0.75);
    ExpectThrown([&] { root_->SetName(L"name"); });
    ExpectThrown([&] { root_->SetText(L"text"); });
    ExpectThrown([&] { root_->SetNote1(L"note"); });
    ExpectThrown([&] { root_->SetMeasure(1.0); });
    ExpectThrown([&] { root_->SetUserValue(5); });
    ExpectThrown([&] { watch_.signaler->SuspendNow(); });
    ExpectThrown([&] { watch_.signaler->ResumeNow(); });
    ExpectThrown([&] { watch_.signaler->Cancel(); });
    ExpectThrown([&] { root_->Finish(); });
    thrower_.reset();
    const ProgressState state = watch_.Now();
    EXPECT_EQ(state.name, L"name");
    EXPECT_EQ(state.text, L"text");
    EXPECT_EQ(state.note1, L"note");
    EXPECT_EQ(state.measure, 0.0);
    EXPECT_EQ(state.status, EProgressStatus::Cancelled);
    EXPECT_EQ(watch_.signaler->GetUserValue(), 5u);
}

TEST_F(Observers, WhatTheyThrowLeavesTheFailureAndEverythingIsToldAndDetached) {
    const auto child = MakeRoot();
    root_->Attach(*child, 0.5);
    std::exception_ptr told;
    const std::exception_ptr failure = std::make_exception_ptr(1);
    const auto observer = watch_.signaler->Connect(
        [](ProgressState const&) {}, [&](std::exception_ptr error) { told = std::move(error); });
    ConnectThrower();
    ExpectThrown([&] { root_->Fail(failure); });
    EXPECT_EQ(told, failure);
    thrower_.reset();
    child->Add(0.5);
    EXPECT_EQ(watch_.Now().progress, 0.0);
}

TEST_F(Observers, TheCompletionIsToldAlsoAfterOneThatThrew) {
    int completions = 0;
    const auto count = [&] { ++completions; };
    const auto first = watch_.signaler->Connect([](ProgressState const&) {}, {}, count);
    const auto bad = watch_.signaler->Connect([](ProgressState const&) {}, {},
                                              [] { throw std::runtime_error("completion"); });
    ConnectThrower();
    const auto last = watch_.signaler->Connect([](ProgressState const&) {}, {}, count);
    ExpectThrown([&] { root_->Finish(); });
    EXPECT_EQ(completions, 2);
    thrower_.reset();
    root_->Finish();
    EXPECT_EQ(completions, 2) << "once";
}

TEST_F(Observers, WhatTheyThrowDoesNotLeaveDestructors) {
    auto share = root_->CreateChild(0.25, L"");
    ConnectThrower();
    EXPECT_NO_THROW(share.reset());
    EXPECT_EQ(watch_.Now().progress, 0.25);
    EXPECT_NO_THROW(root_.reset());
    EXPECT_EQ(watch_.Now().progress, 1.0);
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Finished);
}

TEST_F(Observers, WhatTheyThrowDoesNotLeaveTheEndOfASuspension) {
    auto suspension = watch_.signaler->Suspend();
    ConnectThrower();
    EXPECT_NO_THROW(suspension.reset());
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Active);
}

TEST_F(Observers, ASuspensionThatThrowsEndsAtOnce) {
    ConnectThrower();
    ExpectThrown([&] { (void)watch_.signaler->Suspend(); });
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Active);
}

TEST_F(Observers, AnEmptyObserverThrowsWhenSomethingIsPublishedAndNotEarlier) {
    auto empty = watch_.signaler->Connect({});
    EXPECT_THROW(root_->Add(0.5), std::bad_function_call);
    EXPECT_EQ(watch_.Now().progress, 0.5);
    empty.reset();
    root_->Add(0.25);
    EXPECT_EQ(watch_.Last().progress, 0.75);
}

TEST_F(Observers, MayDisconnectThemselvesAndOthers) {
    std::shared_ptr<void> first;
    std::shared_ptr<void> second;
    std::string calls;
    bool isArmed = false;
    first = watch_.signaler->Connect([&](ProgressState const&) {
        if (!isArmed)
            return;
        calls += "first ";
        first.reset();
        second.reset();
    });
    second = watch_.signaler->Connect([&](ProgressState const&) {
        if (isArmed)
            calls += "second ";
    });
    isArmed = true;
    root_->Add(0.25);
    root_->Add(0.25);
    EXPECT_EQ(calls, "first ");
    EXPECT_EQ(watch_.Now().progress, 0.5);
}

TEST_F(Observers, MayConnectOthers) {
    std::vector<double> seen;
    std::shared_ptr<void> inner;
    const auto outer = watch_.signaler->Connect([&](ProgressState const& state) {
        if (state.progress == 0.25)
            inner = watch_.signaler->Connect(
                [&](ProgressState const& later) { seen.push_back(later.progress); });
    });
    root_->Add(0.25);
    EXPECT_EQ(seen, std::vector<double>{0.25}) << "the current state, once";
    root_->Add(0.25);
    EXPECT_EQ(seen, (std::vector<double>{0.25, 0.5}));
}

TEST_F(Observers, MayCancelFromWithinAPublication) {
    std::vector<kq::progress::ERequest> heard;
    const auto listener =
        root_->ConnectRequests([&](kq::progress::ERequest request) { heard.push_back(request); });
    const auto observer = watch_.signaler->Connect([&](ProgressState const& state) {
        if (state.progress >= 0.5)
            watch_.signaler->Cancel();
    });
    root_->Add(0.5);
    EXPECT_TRUE(root_->IsCancelling());
    EXPECT_EQ(heard, std::vector<kq::progress::ERequest>{kq::progress::ERequest::Cancel});
    EXPECT_EQ(watch_.Now().status, EProgressStatus::Cancelling);
    root_->Finish();
    EXPECT_EQ(watch_.Last().status, EProgressStatus::Cancelled);
}

TEST_F(Observers, MayCancelAtTheirConnection) {
    const auto observer =
        watch_.signaler->Connect([&](ProgressState const&) { watch_.signaler->Cancel(); });
    EXPECT_TRUE(root_->IsCancelling());
}

TEST_F(Observers, MayChangeWhatTheyObserve) {
    const auto observer = watch_.signaler->Connect([&](ProgressState const& state) {
        if (state.progress == 0.25)
            root_->SetText(L"a quarter");
        if (state.text == L"a quarter" && state.progress == 0.25)
            root_->SetNote1(L"done");
    });
    root_->Add(0.25);
    EXPECT_EQ(watch_.Now().text, L"a quarter");
    EXPECT_EQ(watch_.Now().note1, L"done");
    EXPECT_EQ(watch_.Publications(), 3u);
    const Watch late(*root_);
    EXPECT_EQ(late.states.front().note1, L"done") << "the last published state, not the outer one";
}

TEST_F(Observers, MayDropTheLastHandleOnTheState) {
    auto other = MakeRoot();
    auto signaler = kq::progress::CreateSignaler(*other);
    std::vector<EProgressStatus> seen;
    const auto observer = signaler->Connect([&](ProgressState const& state) {
        seen.push_back(state.status);
        if (state.status == EProgressStatus::Suspended) {
            signaler.reset();
            other.reset();
        }
    });
    signaler->SuspendNow();
    EXPECT_EQ(seen,
              (std::vector<EProgressStatus>{EProgressStatus::Active, EProgressStatus::Suspended,
                                            EProgressStatus::Finished}));
}

} // namespace
