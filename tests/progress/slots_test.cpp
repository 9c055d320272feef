// The order of the virtual functions, by which binaries find them.
#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include "support/foreign_signaler.h"
#include "support/progress_watch.h"
#include "support/virtual_slot.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

using kq::progress::IProgress;
using kq::progress::IProgressRoot;
using kq::progress::IProgressSignaler;

// See support/virtual_slot.h.
#ifndef _MSC_VER

using kq_test::SlotOf;

namespace {

template <class Object>
void* FunctionInSlot(const Object& object, std::size_t slot) {
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&object), sizeof(table));
    return table[slot];
}

TEST(ProgressSlots, AreInOrder) {
    EXPECT_EQ(SlotOf(&IProgress::GetRemaining), 0u);
    EXPECT_EQ(SlotOf(&IProgress::CreateChild), 1u);
    EXPECT_EQ(SlotOf(&IProgress::Finish), 2u);
    EXPECT_EQ(SlotOf(&IProgress::Fail), 3u);
    EXPECT_EQ(SlotOf(&IProgress::Add), 4u);
    EXPECT_EQ(SlotOf(&IProgress::Attach), 5u);
    EXPECT_EQ(SlotOf(&IProgress::Raise), 6u);
    EXPECT_EQ(SlotOf(&IProgress::GetDone), 7u);
    EXPECT_EQ(SlotOf(&IProgress::Set), 8u);
    EXPECT_EQ(SlotOf(&IProgress::Indeterminate), 9u);
    EXPECT_EQ(SlotOf(&IProgress::IsCancelling), 10u);
    EXPECT_EQ(SlotOf(&IProgress::ConnectRequests), 11u);
}

TEST(ProgressSlots, ThoseOfARootFollowTheDestructor) {
    constexpr std::size_t destructors = 2;
    EXPECT_EQ(SlotOf(&IProgressRoot::SetName), 12 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetText), 13 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetNote1), 14 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetNote2), 15 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetNote3), 16 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetNote4), 17 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetCancelable), 18 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetSuspendable), 19 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetUserValue), 20 + destructors);
    EXPECT_EQ(SlotOf(&IProgressRoot::SetMeasure), 21 + destructors);
}

TEST(ProgressSlots, OfASignalerFollowItsDestructor) {
    constexpr std::size_t destructors = 2;
    EXPECT_EQ(SlotOf(&IProgressSignaler::GetState), 0 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::CanCancel), 1 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::Cancel), 2 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::CanSuspend), 3 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::SuspendNow), 4 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::ResumeNow), 5 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::Suspend), 6 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::GetUserValue), 7 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::GetUserText), 8 + destructors);
    EXPECT_EQ(SlotOf(&IProgressSignaler::Connect), 9 + destructors);
}

using Destructor = void (*)(const void*);

TEST(ProgressSlots, TheDestructorOfAProgressObjectStandsAfterItsLastFunction) {
    const auto root = kq_test::MakeRoot();
    const kq_test::Watch watch(*root);
    const IProgress* const share = root->CreateChild(0.5, L"").release();
    constexpr std::size_t freeing = 13;
    reinterpret_cast<Destructor>(FunctionInSlot(*share, freeing))(share);
    EXPECT_EQ(watch.Now().progress, 0.5) << "a share completes itself in its destructor";
}

TEST(ProgressSlots, TheDestructorOfASignalerStandsFirst) {
    struct Ended final : kq_test::ForeignSignaler {
        explicit Ended(bool& flag) : flag_(flag) {}
        ~Ended() override { flag_ = true; }
        bool& flag_;
    };
    bool hasEnded = false;
    const IProgressSignaler* const signaler = new Ended(hasEnded);
    EXPECT_FALSE(signaler->GetUserText().has_value()) << "the default of the interface";
    constexpr std::size_t freeing = 1;
    reinterpret_cast<Destructor>(FunctionInSlot(*signaler, freeing))(signaler);
    EXPECT_TRUE(hasEnded);
}

} // namespace

#endif
