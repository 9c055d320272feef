// Observers and progress when memory runs out.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>
#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>

#include "faults/each_allocation.h"
#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using kq::progress::IProgressRoot;
using kq::progress::ProgressState;
using kq::signal::CBehaviorSignaler;
using kq::signal::Connection;
using kq::signal::CSignaler;
using kq_test::FailEachAllocation;
using kq_test::MakeRoot;

namespace {

const std::wstring longText(100, L'x');

template <class Signaler>
void ConnectAndEmit(Signaler& signaler) {
    int heard = 0;
    const Connection connection = signaler.Connect([&](const std::wstring&) { ++heard; });
    signaler.Emit(longText);
    EXPECT_GE(heard, 1);
}

// More than a function object has room for.
template <class Signaler>
void ConnectOne(Signaler& signaler) {
    const Connection connection =
        signaler.Connect([text = longText](const std::wstring& value) { EXPECT_EQ(value, text); });
}

TEST(ObserverFaults, ConnectingWithoutMemoryTellsTheCaller) {
    using Plain = CSignaler<std::wstring>;
    EXPECT_GT(FailEachAllocation([] { return std::make_unique<Plain>(); }, ConnectOne<Plain>,
                                 ConnectAndEmit<Plain>),
              0);
    using Behavior = CBehaviorSignaler<std::wstring>;
    EXPECT_GT(FailEachAllocation([] { return std::make_unique<Behavior>(longText); },
                                 ConnectOne<Behavior>, ConnectAndEmit<Behavior>),
              0);
}

/// A root with an observer, which has seen its newest state.
struct Observed {
    std::unique_ptr<IProgressRoot> root = MakeRoot();
    std::unique_ptr<kq::progress::IProgressSignaler> signaler = kq::progress::CreateSignaler(*root);
    ProgressState last;
    std::shared_ptr<void> connection =
        signaler->Connect([this](ProgressState const& state) { last = state; });
};

void Publish(Observed& observed) {
    observed.root->SetText(longText + L"!");
    EXPECT_EQ(observed.last.text, longText + L"!");
    observed.root->Add(0.5);
    EXPECT_GE(observed.last.progress, 0.5);
    observed.root->Finish();
    EXPECT_EQ(observed.last.status, kq::progress::EProgressStatus::Finished);
}

TEST(ObserverFaults, PublishingProgressWithoutMemoryTellsTheCaller) {
    const auto make = [] {
        auto observed = std::make_unique<Observed>();
        observed->root->SetNote1(longText);
        return observed;
    };
    EXPECT_GT(FailEachAllocation(
                  make, [](Observed& observed) { observed.root->SetText(longText); }, Publish),
              0);
    EXPECT_GT(FailEachAllocation(
                  make, [](Observed& observed) { observed.root->Add(0.25); }, Publish),
              0);
    EXPECT_GT(FailEachAllocation(
                  make, [](Observed& observed) { observed.signaler->Cancel(); },
                  [](Observed& observed) {
                      // It is being cancelled, whether or not the observer has heard.
                      observed.root->Add(0.5);
                      EXPECT_EQ(observed.last.status, kq::progress::EProgressStatus::Cancelling);
                  }),
              0);
}

TEST(ObserverFaults, FinishingProgressWithoutMemoryCompletesItAllTheSame) {
    EXPECT_GT(FailEachAllocation(
                  [] {
                      auto observed = std::make_unique<Observed>();
                      observed->root->SetText(longText);
                      return observed;
                  },
                  [](Observed& observed) { observed.root->Finish(); },
                  [](Observed& observed) {
                      EXPECT_EQ(observed.signaler->GetState().status,
                                kq::progress::EProgressStatus::Finished);
                  }),
              0);
}

} // namespace
