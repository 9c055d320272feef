// What reporting progress takes from the heap, counted: loops call this a million times.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include "support/allocations.h"
#include "support/progress_watch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

using kq::progress::ProgressState;

namespace {

template <class Step>
std::size_t AllocationsOf(Step step) {
    const std::size_t before = kq_test::Allocations();
    step();
    return kq_test::Allocations() - before;
}

TEST(ProgressAllocations, NoneForAddingThatIsNotPublished) {
    const auto root = kq_test::MakeRoot(0.5);
    const auto share = root->CreateChild(0.5, L"a text that is too long for its object");
    std::size_t calls = 0;
    const auto connection =
        kq::progress::CreateSignaler(*root)->Connect([&](ProgressState const&) { ++calls; });
    EXPECT_EQ(AllocationsOf([&] {
                  for (int i = 0; i != 10'000; ++i) {
                      share->Add(1e-6);
                      root->Set(0.6);
                      root->Raise(0.5);
                  }
              }),
              0u);
    EXPECT_EQ(calls, 1u);
}

TEST(ProgressAllocations, NoneForAPublicationOfShortTextsToAnyNumberOfObservers) {
    for (const std::size_t count : {0u, 1u, 8u, 100u}) {
        const auto root = kq_test::MakeRoot();
        const auto signaler = kq::progress::CreateSignaler(*root);
        std::size_t calls = 0;
        std::vector<std::shared_ptr<void>> connections;
        for (std::size_t i = 0; i != count; ++i)
            connections.push_back(signaler->Connect([&](ProgressState const&) { ++calls; }));
        calls = 0;
        EXPECT_EQ(AllocationsOf([&] {
                      for (int i = 0; i != 100; ++i)
                          root->Add(0.001);
                  }),
                  0u)
            << count << " observers";
        EXPECT_EQ(calls, 100 * count);
    }
}

TEST(ProgressAllocations, NoneForRequests) {
    const auto root = kq_test::MakeRoot();
    const auto signaler = kq::progress::CreateSignaler(*root);
    int heard = 0;
    const auto listener = root->ConnectRequests([&](kq::progress::ERequest) { ++heard; });
    EXPECT_EQ(AllocationsOf([&] {
                  signaler->SuspendNow();
                  signaler->ResumeNow();
                  signaler->Cancel();
              }),
              0u);
    EXPECT_EQ(heard, 3);
}

} // namespace
