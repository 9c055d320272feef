// Randomised schedules on a tree of attached roots: whatever meets, nothing is lost, nothing counts
// twice, and everybody ends in the same state.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include "support/hand_shake.h"
#include "support/progress_watch.h"
#include "support/seed.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using kq::progress::EProgressStatus;
using kq::progress::IProgressRoot;
using kq::progress::IProgressSignaler;
using kq::progress::ProgressState;
using kq_test::MakeRoot;
using kq_test::Random;

namespace {

constexpr std::uint32_t threads = 4;
constexpr int steps = 400;
constexpr double tolerance = 1e-9;

EProgressStatus StatusOf(IProgressRoot& root) {
    return kq::progress::CreateSignaler(root)->GetState().status;
}
double ProgressOf(IProgressRoot& root) {
    return kq::progress::CreateSignaler(root)->GetState().progress;
}

/// One root, four roots attached to its shares, and threads that each work on two of those: half of
/// each part's progress comes from shares of it, and half from roots that are attached for a
/// moment.
class Tree {
public:
    Tree(std::uint32_t seed, std::uint32_t round) : seed_(seed), round_(round) {
        for (std::uint32_t i = 0; i != threads; ++i) {
            parts_[i] = MakeRoot();
            places_[i] = root_->CreateChild(0.25, L"");
            places_[i]->Attach(*parts_[i], 0.25);
            signalers_.push_back(kq::progress::CreateSignaler(*parts_[i]));
        }
        signalers_.push_back(kq::progress::CreateSignaler(*root_));
        for (std::uint32_t i = 0; i != threads; ++i) {
            shares_[i][0] = parts_[i]->CreateChild(0.25, L"");
            shares_[i][1] = parts_[(i + 1) % threads]->CreateChild(0.25, L"");
        }
    }

    void Work(std::uint32_t thread) {
        Random random(seed_, round_ * threads + thread);
        std::vector<std::shared_ptr<void>> observers;
        const int cancelAt = round_ % 2 == 0 ? -1 : static_cast<int>(random.Below(8 * steps));
        for (int step = 0; step != steps; ++step)
            for (const auto& share : shares_[thread]) {
                Try([&] { share->Add(1.0 / steps); });
                Try([&] { AttachForAMoment(*share); });
                Try([&] { Disturb(random, observers); });
                if (step == cancelAt)
                    Try([&] { AnySignaler(random).Cancel(); });
            }
    }

    void Check() {
        for (const auto& signaler : signalers_)
            Try([&] { signaler->ResumeNow(); });
        throwsNow_ = false;
        const EProgressStatus status = StatusOf(*root_);
        for (const auto& part : parts_) {
            EXPECT_NEAR(ProgressOf(*part), 1.0, tolerance);
            EXPECT_EQ(StatusOf(*part), status);
        }
        EXPECT_NEAR(ProgressOf(*root_), 1.0, tolerance);
        EXPECT_EQ(wrongStates_, 0);

        const EProgressStatus end = status == EProgressStatus::Cancelling
                                        ? EProgressStatus::Cancelled
                                        : EProgressStatus::Finished;
        for (const auto& part : parts_) {
            part->Finish();
            EXPECT_EQ(StatusOf(*part), end);
        }
        root_->Finish();
        const kq_test::Watch late(*root_);
        EXPECT_EQ(late.Last().status, end);
        EXPECT_EQ(late.Last().progress, 1.0);
        EXPECT_EQ(late.Now().progress, 1.0);
    }

    bool WasCancelled() { return StatusOf(*root_) == EProgressStatus::Cancelled; }

private:
    template <class Step>
    static void Try(Step step) {
        try {
            step();
        } catch (const std::runtime_error&) { // an observer's: the change is made
            return;
        }
    }

    /// A root's observers throw when its work is active only, so that attaching, which tells nobody
    /// anything but a cancellation, goes well.
    void AttachForAMoment(IProgressRoot& share) {
        constexpr double half = 0.5;
        const auto guest = MakeRoot();
        // Each of the two threads that work on a part attaches so many.
        share.Attach(*guest, half / 2 / steps);
        guest->Add(0.5);
    }

    void Disturb(Random& random, std::vector<std::shared_ptr<void>>& observers) {
        switch (random.Below(8)) {
            case 0:
                AnySignaler(random).SuspendNow();
                break;
            case 1:
                AnySignaler(random).ResumeNow();
                break;
            case 2:
                observers.push_back(AnySignaler(random).Suspend());
                break;
            case 3:
            case 4:
                observers.push_back(Observe(random));
                break;
            default:
                if (observers.size() > 4)
                    observers.erase(observers.begin() + random.Below(5));
                break;
        }
    }

    std::shared_ptr<void> Observe(Random& random) {
        const std::uint32_t which = random.Below(threads + 1);
        const bool throws = which == threads && random.OneIn(4);
        // The first call is the one of the connection.
        return signalers_[which]->Connect(
            [this, throws,
             calls = std::make_shared<std::atomic<int>>(0)](ProgressState const& state) {
                if (!(state.progress >= 0.0 && state.progress <= 1.0) || state.name != L"root")
                    ++wrongStates_;
                if (throws && throwsNow_ && state.status == EProgressStatus::Active &&
                    ++*calls % 3 == 2)
                    throw std::runtime_error("observer");
            });
    }

    IProgressSignaler& AnySignaler(Random& random) {
        return *signalers_[random.Below(threads + 1)];
    }

    const std::uint32_t seed_, round_;
    std::atomic<bool> throwsNow_{true};
    std::atomic<int> wrongStates_{0};
    std::unique_ptr<IProgressRoot> root_ = MakeRoot();
    std::array<std::unique_ptr<IProgressRoot>, threads> places_;
    std::array<std::unique_ptr<IProgressRoot>, threads> parts_;
    std::array<std::array<std::unique_ptr<IProgressRoot>, 2>, threads> shares_;
    std::vector<std::unique_ptr<IProgressSignaler>> signalers_;
};

TEST(ProgressStress, ATreeOfAttachedRootsEndsConsistently) {
    const std::uint32_t seed = kq_test::Seed();
    int cancelled = 0;
    for (std::uint32_t round = 0; round != 40; ++round) {
        Tree tree(seed, round);
        kq_test::ReturnsInTime("a round of random progress", [&] {
            std::vector<std::thread> running;
            for (std::uint32_t thread = 0; thread != threads; ++thread)
                running.emplace_back([&, thread] { tree.Work(thread); });
            for (std::thread& thread : running)
                thread.join();
        });
        tree.Check();
        cancelled += tree.WasCancelled() ? 1 : 0;
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(cancelled, 0);
    EXPECT_LT(cancelled, 40);
    kq_test::ReportStress(40, 0);
}

} // namespace
