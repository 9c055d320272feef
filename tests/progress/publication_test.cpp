// Which changes the observers of a root hear of.
#include <kq/progress/progress.h>

#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using kq::progress::EProgressStatus;
using kq::progress::IProgressRoot;
using kq::progress::ProgressState;
using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

TEST(Publication, WithGranularityZeroEveryChangeOfTheFraction) {
    const auto root = MakeRoot(0.0);
    const Watch watch(*root);
    root->Add(1e-9);
    root->Add(0.0);
    root->Add(-0.5);
    EXPECT_EQ(watch.Publications(), 3u);
    root->Raise(-1.0);
    EXPECT_EQ(watch.Publications(), 4u) << "also when it raises nothing";
}

TEST(Publication, WithAGranularityWhenTheFractionReachesAnotherMultiple) {
    const auto root = MakeRoot(0.3);
    const Watch watch(*root);
    std::vector<double> published;
    for (int i = 0; i != 4; ++i) {
        const std::size_t before = watch.Publications();
        root->Add(0.25);
        if (watch.Publications() != before)
            published.push_back(watch.Last().progress);
    }
    EXPECT_EQ(published, (std::vector<double>{0.5, 0.75, 1.0}));
}

TEST(Publication, OfAMillionStepsIsBoundedByTheGranularity) {
    const auto root = MakeRoot(0.01);
    const Watch watch(*root);
    for (int i = 0; i != 1'000'000; ++i)
        root->Add(1e-6);
    EXPECT_GE(watch.Publications(), 99u);
    EXPECT_LE(watch.Publications(), 100u);
}

TEST(Publication, NeverOfADecreaseByItselfOnPurpose) {
    const auto root = MakeRoot(0.01);
    const Watch watch(*root);
    root->Set(0.5);
    EXPECT_EQ(watch.Publications(), 1u);
    root->Set(0.2);
    EXPECT_EQ(watch.Publications(), 1u);
    EXPECT_EQ(watch.Now().progress, 0.2);
    EXPECT_EQ(watch.Last().progress, 0.5);
    root->SetText(L"anything");
    EXPECT_EQ(watch.Last().progress, 0.2) << "it goes with the next publication";
}

TEST(Publication, OfANanAlwaysWhateverTheGranularity) {
    const auto root = MakeRoot(0.5);
    const Watch watch(*root);
    root->Add(std::numeric_limits<double>::quiet_NaN());
    root->Add(0.001);
    EXPECT_EQ(watch.Publications(), 2u);
}

using Setter = std::function<void(IProgressRoot&, const std::wstring&)>;

struct TextSetter {
    Setter set;
    std::function<std::optional<std::wstring>(const ProgressState&)> get;
};

const std::vector<TextSetter> textSetters{
    {[](IProgressRoot& root, const std::wstring& text) { root.SetName(text); },
     [](const ProgressState& state) { return state.name; }},
    {[](IProgressRoot& root, const std::wstring& text) { root.SetText(text); },
     [](const ProgressState& state) { return state.text; }},
    {[](IProgressRoot& root, const std::wstring& text) { root.SetNote1(text); },
     [](const ProgressState& state) { return state.note1; }},
    {[](IProgressRoot& root, const std::wstring& text) { root.SetNote2(text); },
     [](const ProgressState& state) { return state.note2; }},
    {[](IProgressRoot& root, const std::wstring& text) { root.SetNote3(text); },
     [](const ProgressState& state) { return state.note3; }},
    {[](IProgressRoot& root, const std::wstring& text) { root.SetNote4(text); },
     [](const ProgressState& state) { return state.note4; }},
};

TEST(Publication, OfATextWhenItDiffers) {
    for (const TextSetter& text : textSetters) {
        const auto root = MakeRoot(0.5);
        const Watch watch(*root);
        text.set(*root, L"a text that is too long for its object");
        EXPECT_EQ(watch.Publications(), 1u);
        EXPECT_EQ(text.get(watch.Last()), L"a text that is too long for its object");
        text.set(*root, L"a text that is too long for its object");
        EXPECT_EQ(watch.Publications(), 1u);
        text.set(*root, L"");
        EXPECT_EQ(watch.Publications(), 2u);
        EXPECT_EQ(text.get(watch.Last()), L"");
    }
}

TEST(Publication, EachTextHasItsOwnField) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    for (std::size_t i = 0; i != textSetters.size(); ++i)
        textSetters[i].set(*root, std::to_wstring(i));
    for (std::size_t i = 0; i != textSetters.size(); ++i)
        EXPECT_EQ(textSetters[i].get(watch.Last()), std::to_wstring(i));
}

TEST(Publication, AnEmptyNoteDiffersFromAnEmptyText) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    root->SetNote1({});
    EXPECT_EQ(watch.Publications(), 0u);
    root->SetNote1(L"");
    EXPECT_EQ(watch.Publications(), 1u);
    root->SetNote1({});
    EXPECT_EQ(watch.Publications(), 2u);
    EXPECT_FALSE(watch.Last().note1.has_value());
}

TEST(Publication, OfFlagsAndNumbersWhenTheyDiffer) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    root->SetCancelable(true);
    root->SetSuspendable(true);
    root->SetUserValue(0);
    root->SetMeasure({});
    EXPECT_EQ(watch.Publications(), 0u);
    root->SetCancelable(false);
    root->SetSuspendable(false);
    root->SetUserValue(1);
    root->SetMeasure(0.0);
    EXPECT_EQ(watch.Publications(), 4u);
    EXPECT_FALSE(watch.signaler->CanCancel());
    EXPECT_FALSE(watch.signaler->CanSuspend());
    EXPECT_EQ(watch.signaler->GetUserValue(), 1u);
    EXPECT_EQ(watch.Last().measure, 0.0);
}

TEST(Publication, OfAMeasureThatIsNotANumberAlways) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    for (std::size_t i = 1; i != 4; ++i) {
        root->SetMeasure(std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(watch.Publications(), i);
    }
}

TEST(Publication, AShareSetsNothingButTheMeasure) {
    const auto root = MakeRoot();
    const auto share = root->CreateChild(0.5, L"");
    const Watch watch(*root);
    for (const TextSetter& text : textSetters)
        text.set(*share, L"text");
    share->SetCancelable(false);
    share->SetSuspendable(false);
    share->SetUserValue(1);
    EXPECT_EQ(watch.Publications(), 0u);
    EXPECT_EQ(watch.Now().name, L"root");
    EXPECT_TRUE(watch.signaler->CanCancel());
    EXPECT_TRUE(watch.signaler->CanSuspend());
    EXPECT_EQ(watch.signaler->GetUserValue(), 0u);
    share->SetMeasure(2.5);
    EXPECT_EQ(watch.Publications(), 1u);
    EXPECT_EQ(watch.Last().measure, 2.5);
}

TEST(Publication, OfTheEndOnce) {
    const auto root = MakeRoot(0.01);
    root->SetMeasure(4.0);
    const Watch watch(*root);
    root->Finish();
    EXPECT_EQ(watch.Publications(), 1u);
    EXPECT_EQ(watch.Last().status, EProgressStatus::Finished);
    EXPECT_EQ(watch.Last().progress, 1.0);
    EXPECT_EQ(watch.Last().measure, 0.0);
    root->Finish();
    EXPECT_EQ(watch.Publications(), 1u);
}

TEST(Publication, TheEndLeavesAMeasureEmptyThatIsEmpty) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    root->Finish();
    EXPECT_FALSE(watch.Last().measure.has_value());
}

TEST(Publication, TheFirstStateIsWhatTheRootWasMadeWith) {
    const auto root = kq::progress::Create(L"name", false, true, 0.1, 4, L"text");
    const Watch watch(*root);
    const ProgressState& state = watch.states.front();
    EXPECT_EQ(state.status, EProgressStatus::Active);
    EXPECT_EQ(state.progress, 0.0);
    EXPECT_EQ(state.elapsed, 0.0);
    EXPECT_EQ(state.name, L"name");
    EXPECT_EQ(state.text, L"");
    EXPECT_FALSE(state.note1 || state.note2 || state.note3 || state.note4 || state.measure);
    EXPECT_FALSE(watch.signaler->CanCancel());
    EXPECT_TRUE(watch.signaler->CanSuspend());
    EXPECT_EQ(watch.signaler->GetUserValue(), 4u);
    EXPECT_EQ(watch.signaler->GetUserText(), L"text");
}

TEST(Publication, AnObserverThatComesLateBeginsWithTheLastPublishedState) {
    const auto root = MakeRoot(0.5);
    root->Add(0.6);
    root->Add(0.1);
    const Watch watch(*root);
    EXPECT_EQ(watch.states.front().progress, 0.6);
    EXPECT_EQ(watch.Now().progress, 0.6 + 0.1);
}

} // namespace
