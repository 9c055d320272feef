// The observer's handle on a root.
#include <kq/progress/progress_signaler.h>

#include "support/foreign_signaler.h"
#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <typeinfo>
#include <utility>
#include <vector>

using kq::progress::CreateSignaler;
using kq::progress::EProgressStatus;
using kq::progress::IProgressRoot;
using kq::progress::ProgressState;
using kq_test::ForeignSignaler;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

/// An implementation that is not the library's.
class ForeignRoot final : public IProgressRoot {
public:
    double GetRemaining() const override { return 0.0; }
    std::unique_ptr<IProgressRoot> CreateChild(double /*share*/,
                                               std::wstring const& /*text*/) override {
        return {};
    }
    void Finish() override {}
    void Fail(std::exception_ptr /*failure*/) override {}
    void Add(double /*amount*/) override {}
    void Attach(IProgressRoot& /*child*/, double /*share*/) override {}
    void Raise(double /*value*/) override {}
    double GetDone() const override { return 0.0; }
    void Set(double /*value*/) override {}
    std::shared_ptr<void> Indeterminate() override { return {}; }
    bool IsCancelling() const override { return false; }
    std::shared_ptr<void> ConnectRequests(
        std::function<void(kq::progress::ERequest)> /*onRequest*/) override {
        return {};
    }
    void SetName(std::wstring const& /*name*/) override {}
    void SetText(std::wstring const& /*text*/) override {}
    void SetNote1(std::optional<std::wstring> /*note*/) override {}
    void SetNote2(std::optional<std::wstring> /*note*/) override {}
    void SetNote3(std::optional<std::wstring> /*note*/) override {}
    void SetNote4(std::optional<std::wstring> /*note*/) override {}
    void SetCancelable(bool /*cancelable*/) override {}
    void SetSuspendable(bool /*suspendable*/) override {}
    void SetUserValue(unsigned int /*value*/) override {}
    void SetMeasure(std::optional<double> /*measure*/) override {}
};

TEST(ProgressSignaler, IsEqualToAnotherOneOfTheSameRoot) {
    const auto root = MakeRoot();
    const auto twin = MakeRoot();
    const auto first = CreateSignaler(*root);
    const auto second = CreateSignaler(*root);
    const auto other = CreateSignaler(*twin);
    EXPECT_TRUE(*first == *second);
    EXPECT_FALSE(*first != *second);
    EXPECT_FALSE(*first == *other);
    EXPECT_TRUE(*first != *other);
}

TEST(ProgressSignaler, CannotBeComparedWithAnotherImplementation) {
    const auto root = MakeRoot();
    const auto signaler = CreateSignaler(*root);
    const ForeignSignaler foreign;
    EXPECT_THROW((void)(*signaler == foreign), std::bad_cast);
    EXPECT_THROW((void)(foreign == *signaler), std::bad_cast);
    EXPECT_THROW((void)(*signaler != foreign), std::bad_cast);
    EXPECT_THROW((void)(foreign != *signaler), std::bad_cast);
}

TEST(ProgressSignaler, NeedsARootOfTheLibrary) {
    const auto root = MakeRoot();
    const auto share = root->CreateChild(0.5, L"");
    EXPECT_THROW(CreateSignaler(*share), std::bad_cast);
    ForeignRoot foreign;
    EXPECT_THROW(CreateSignaler(foreign), std::bad_cast);
    EXPECT_THROW(root->Attach(foreign, 0.5), std::bad_cast);
}

TEST(ProgressSignaler, HasNoUserTextUnlessGiven) {
    const ForeignSignaler foreign;
    EXPECT_FALSE(foreign.GetUserText().has_value());
    EXPECT_FALSE(CreateSignaler(*MakeRoot())->GetUserText().has_value());
    const auto root = kq::progress::Create(L"", false, false, 0.0, 0xFFFFFFFFu, L"");
    const auto signaler = CreateSignaler(*root);
    EXPECT_EQ(signaler->GetUserText(), L"");
    EXPECT_EQ(signaler->GetUserValue(), 0xFFFFFFFFu);
}

TEST(ProgressSignaler, OutlivesTheWork) {
    auto root = MakeRoot();
    auto signaler = CreateSignaler(*root);
    root->SetText(L"text");
    root.reset();
    EXPECT_EQ(signaler->GetState().status, EProgressStatus::Finished);
    EXPECT_EQ(signaler->GetState().progress, 1.0);
    EXPECT_EQ(signaler->GetState().text, L"text");
    EXPECT_FALSE(signaler->CanCancel());
    EXPECT_FALSE(signaler->CanSuspend());
    signaler->Cancel();
    EXPECT_EQ(signaler->GetState().status, EProgressStatus::Finished);
}

TEST(ProgressSignaler, CallsALateObserverOnceWithTheFinalState) {
    const auto root = MakeRoot();
    root->Finish();
    std::vector<EProgressStatus> seen;
    int completions = 0;
    int failures = 0;
    const auto connection = CreateSignaler(*root)->Connect(
        [&](ProgressState const& state) { seen.push_back(state.status); },
        [&](const std::exception_ptr&) { ++failures; }, [&] { ++completions; });
    EXPECT_EQ(seen, std::vector<EProgressStatus>{EProgressStatus::Finished});
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(failures, 0);
}

TEST(ProgressSignaler, TellsObserversOfTheFailure) {
    const auto root = MakeRoot();
    const auto signaler = CreateSignaler(*root);
    std::vector<EProgressStatus> seen;
    std::vector<std::exception_ptr> failures;
    int completions = 0;
    const auto connect = [&] {
        return signaler->Connect(
            [&](ProgressState const& state) { seen.push_back(state.status); },
            [&](std::exception_ptr failure) { failures.push_back(std::move(failure)); },
            [&] { ++completions; });
    };
    const auto connection = connect();
    const auto failure = std::make_exception_ptr(std::runtime_error("broken"));
    root->CreateChild(0.5, L"")->Fail(failure);
    EXPECT_EQ(failures, std::vector<std::exception_ptr>{failure});
    EXPECT_EQ(seen.at(1), EProgressStatus::Failed);
    root->Finish();
    EXPECT_EQ(completions, 0);
    const auto late = connect();
    EXPECT_EQ(failures, std::vector<std::exception_ptr>(2, failure));
    EXPECT_EQ(completions, 0);
}

TEST(ProgressSignaler, SuspendsForAScope) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    auto suspension = watch.signaler->Suspend();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Suspended);
    auto copy = suspension;
    suspension.reset();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Suspended);
    copy.reset();
    EXPECT_EQ(watch.Last().status, EProgressStatus::Active);
}

TEST(ProgressSignaler, SuspensionsAreNotCountedOnPurpose) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    auto first = watch.signaler->Suspend();
    auto second = watch.signaler->Suspend();
    second.reset();
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
    first.reset();
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
}

TEST(ProgressSignaler, ASuspensionWithoutEffectResumesOthersOnPurpose) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    root->SetSuspendable(false);
    auto without = watch.signaler->Suspend();
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
    root->SetSuspendable(true);
    watch.signaler->SuspendNow();
    without.reset();
    EXPECT_EQ(watch.Now().status, EProgressStatus::Active);
}

TEST(ProgressSignaler, ASuspensionMayOutliveTheRoot) {
    auto root = MakeRoot();
    auto signaler = CreateSignaler(*root);
    auto suspension = signaler->Suspend();
    root.reset();
    suspension.reset();
    EXPECT_EQ(signaler->GetState().status, EProgressStatus::Finished);

    root = MakeRoot();
    suspension = CreateSignaler(*root)->Suspend();
    root.reset();
    suspension.reset();
}

} // namespace
