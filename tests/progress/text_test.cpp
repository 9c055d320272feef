// The text of a root while its work goes from step to step.
#include <kq/progress/progress.h>

#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using kq_test::MakeRoot;
using kq_test::Watch;

namespace {

TEST(ProgressText, AChildOfTheRootSetsIt) {
    const auto root = MakeRoot(0.5);
    const Watch watch(*root);
    const auto first = root->CreateChild(0.1, L"first");
    EXPECT_EQ(watch.Publications(), 1u);
    EXPECT_EQ(watch.Last().text, L"first");
    const auto second = root->CreateChild(0.1, L"first");
    EXPECT_EQ(watch.Publications(), 1u) << "it is the same text";
}

TEST(ProgressText, AChildOfAShareDoesNot) {
    const auto root = MakeRoot();
    const auto share = root->CreateChild(0.5, L"share");
    const Watch watch(*root);
    const auto child = share->CreateChild(0.5, L"child");
    EXPECT_EQ(watch.Publications(), 0u);
    EXPECT_EQ(watch.Now().text, L"share");
}

TEST(ProgressText, AttachingToTheRootSetsItToTheNameOfTheChild) {
    const auto root = MakeRoot();
    const auto child = kq::progress::Create(L"child", true, true, 0.0, 0, {});
    const Watch watch(*root);
    root->Attach(*child, 0.5);
    EXPECT_EQ(watch.Last().text, L"child");
}

TEST(ProgressText, AttachingToAShareDoesNot) {
    const auto root = MakeRoot();
    const auto share = root->CreateChild(0.5, L"share");
    const auto child = kq::progress::Create(L"child", true, true, 0.0, 0, {});
    share->Attach(*child, 0.5);
    EXPECT_EQ(Watch(*root).Now().text, L"share");
}

TEST(ProgressText, IsPublishedBeforeTheChildExists) {
    const auto root = MakeRoot();
    const Watch watch(*root);
    std::shared_ptr<void> thrower =
        watch.signaler->Connect([](const kq::progress::ProgressState& state) {
            if (state.text == L"step")
                throw std::runtime_error("no");
        });
    EXPECT_THROW(root->CreateChild(0.5, L"step"), std::runtime_error);
    EXPECT_EQ(watch.Now().progress, 0.0) << "there is no share that could complete itself";
    EXPECT_EQ(root->GetDone(), 0.0);
    EXPECT_EQ(watch.Now().text, L"step");
    thrower.reset();
    root->CreateChild(0.5, L"step").reset();
    EXPECT_EQ(watch.Now().progress, 0.5);
}

} // namespace
