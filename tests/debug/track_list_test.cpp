#include <kq/debug/symbol_handler.h>
#include <kq/debug/track_list.h>

#include "support/debugger_output.h"
#include "support/hand_shake.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using kq::debug::symbolHandler;
using kq::debug::track_list;
using kq_test::DebuggerOutput;

namespace {

volatile int sink = 0;

[[gnu::noinline]] void TakenHere(track_list& tracker, const void* object, const void* reference) {
    tracker.AddReference(object, reference);
    sink = sink + 1;
}

[[gnu::noinline]] void TakenThere(track_list& tracker, const void* object, const void* reference) {
    tracker.AddReference(object, reference);
    sink = sink + 2;
}

bool Shows(const std::wstring& text, const wchar_t* function) {
    return text.find(function) != std::wstring::npos;
}

class TrackList : public testing::Test {
protected:
    std::vector<std::wstring> Dump(const void* object) {
        tracker.Dump(object);
        return output.Take();
    }
    std::vector<std::wstring> DumpAll() {
        tracker.DumpAll();
        return output.Take();
    }

    DebuggerOutput output;
    track_list tracker;
    const int objects[3] = {};
    const int references[3] = {};
    const void* const a = &objects[0];
    const void* const b = &objects[1];
    const void* const c = &objects[2];
    const void* const r = &references[0];
    const void* const s = &references[1];
    const void* const t = &references[2];
};

TEST_F(TrackList, ShowsWhereAReferenceWasTaken) {
    TakenHere(tracker, a, r);
    const std::vector<std::wstring> dump = Dump(a);
    ASSERT_EQ(dump.size(), 1u);
    EXPECT_TRUE(Shows(dump[0], L"GetCallStack (")) << dump[0].c_str();
    EXPECT_TRUE(Shows(dump[0], L"AddReference (")) << dump[0].c_str();
    EXPECT_TRUE(Shows(dump[0], L"TakenHere ("));
    EXPECT_TRUE(Shows(dump[0], L"track_list_test.cpp, line "));
}

TEST_F(TrackList, WritesTheTextOfTheStackAndNothingElse) {
    TakenHere(tracker, a, r);
    const std::wstring text = Dump(a).at(0);
    EXPECT_EQ(text.front(), L'"');
    EXPECT_EQ(text.back(), L')');
    std::wistringstream lines(text);
    for (std::wstring line; std::getline(lines, line);)
        EXPECT_EQ(line.back(), L')');
}

TEST_F(TrackList, WritesOneTextAReference) {
    TakenHere(tracker, a, r);
    TakenThere(tracker, a, s);
    TakenThere(tracker, b, t);
    const std::vector<std::wstring> dump = Dump(a);
    ASSERT_EQ(dump.size(), 2u);
    EXPECT_NE(Shows(dump[0], L"TakenHere ("), Shows(dump[1], L"TakenHere ("));
    EXPECT_NE(Shows(dump[0], L"TakenThere ("), Shows(dump[1], L"TakenThere ("));
    EXPECT_EQ(Dump(b).size(), 1u);
    EXPECT_EQ(DumpAll().size(), 3u);
}

TEST_F(TrackList, WithoutReferencesWritesNothing) {
    EXPECT_TRUE(Dump(a).empty());
    EXPECT_TRUE(DumpAll().empty());
}

TEST_F(TrackList, DoesNothingForANullObject) {
    TakenHere(tracker, a, r);
    tracker.AddReference(nullptr, r);
    tracker.AddReference(nullptr, s);
    tracker.RemoveReference(nullptr, r);
    EXPECT_TRUE(Dump(nullptr).empty());
    EXPECT_EQ(Dump(a).size(), 1u);
    EXPECT_EQ(DumpAll().size(), 1u);
}

TEST_F(TrackList, TakesANullReferenceAsAnyOther) {
    tracker.AddReference(a, nullptr);
    EXPECT_EQ(Dump(a).size(), 1u);
    tracker.RemoveReference(a, nullptr);
    EXPECT_TRUE(Dump(a).empty());
}

TEST_F(TrackList, RecordsAReferenceForItsLastObjectOnly) {
    tracker.AddReference(a, r);
    tracker.AddReference(b, r);
    EXPECT_TRUE(Dump(a).empty());
    EXPECT_EQ(Dump(b).size(), 1u);
    EXPECT_EQ(DumpAll().size(), 1u);
}

TEST_F(TrackList, KeepsTheStackOfTheSecondTimeForAReferenceTakenTwice) {
    TakenHere(tracker, a, r);
    TakenThere(tracker, a, r);
    const std::vector<std::wstring> dump = Dump(a);
    ASSERT_EQ(dump.size(), 1u);
    EXPECT_TRUE(Shows(dump[0], L"TakenThere ("));
    EXPECT_FALSE(Shows(dump[0], L"TakenHere ("));
}

TEST_F(TrackList, ForgetsARemovedReference) {
    tracker.AddReference(a, r);
    tracker.AddReference(a, s);
    tracker.RemoveReference(a, r);
    EXPECT_EQ(Dump(a).size(), 1u);
    tracker.RemoveReference(a, s);
    EXPECT_TRUE(Dump(a).empty());
    EXPECT_TRUE(DumpAll().empty());
    tracker.RemoveReference(a, s);
    tracker.RemoveReference(b, t);
    EXPECT_TRUE(DumpAll().empty());
}

TEST_F(TrackList, ForgetsAReferenceRemovedFromAnotherObjectThanItsOwn) {
    tracker.AddReference(b, r);
    tracker.AddReference(b, s);
    tracker.RemoveReference(a, r);
    EXPECT_EQ(Dump(b).size(), 1u);
    tracker.RemoveReference(a, s);
    EXPECT_TRUE(Dump(b).empty());
    EXPECT_TRUE(DumpAll().empty());
}

TEST_F(TrackList, ShowsAReferenceRemovedFromAnotherObjectOnlyWhereItIsTakenAgain) {
    tracker.AddReference(b, r);
    tracker.RemoveReference(a, r);
    tracker.AddReference(c, r);
    EXPECT_TRUE(Dump(b).empty());
    EXPECT_EQ(Dump(c).size(), 1u);
    EXPECT_EQ(DumpAll().size(), 1u);
    tracker.RemoveReference(c, r);
    EXPECT_TRUE(DumpAll().empty());
}

TEST_F(TrackList, MovesAReference) {
    TakenHere(tracker, a, r);
    tracker.ResetReference(a, b, r);
    EXPECT_TRUE(Dump(a).empty());
    const std::vector<std::wstring> dump = Dump(b);
    ASSERT_EQ(dump.size(), 1u);
    EXPECT_TRUE(Shows(dump[0], L"ResetReference ("));
    EXPECT_FALSE(Shows(dump[0], L"TakenHere ("));
}

TEST_F(TrackList, MovesAReferenceWhateverItsOldObjectIsSaidToBe) {
    tracker.AddReference(a, r);
    tracker.ResetReference(c, b, r);
    EXPECT_TRUE(Dump(a).empty());
    EXPECT_EQ(Dump(b).size(), 1u);
}

TEST_F(TrackList, TakesAReferenceMovedFromNothingAndForgetsOneMovedToNothing) {
    tracker.ResetReference(nullptr, a, r);
    EXPECT_EQ(Dump(a).size(), 1u);
    tracker.ResetReference(a, nullptr, r);
    EXPECT_TRUE(Dump(a).empty());
}

TEST_F(TrackList, ChangesNothingForAReferenceMovedFromNothingToNothing) {
    tracker.AddReference(a, r);
    tracker.ResetReference(nullptr, nullptr, r);
    EXPECT_EQ(Dump(a).size(), 1u);
}

TEST_F(TrackList, MovesAReferenceWithinItsObject) {
    TakenHere(tracker, a, r);
    tracker.ResetReference(a, a, r);
    const std::vector<std::wstring> dump = Dump(a);
    ASSERT_EQ(dump.size(), 1u);
    EXPECT_FALSE(Shows(dump[0], L"TakenHere ("));
}

TEST_F(TrackList, KeepsTrackersApart) {
    track_list other;
    other.AddReference(a, r);
    EXPECT_TRUE(DumpAll().empty());
    other.DumpAll();
    EXPECT_EQ(output.Take().size(), 1u);
}

TEST_F(TrackList, ChangesNothingWithoutASymbolHandler) {
    TakenHere(tracker, a, r);
    const auto handler = symbolHandler.GetShared();
    symbolHandler.Reset();
    const std::string add = ThrownText<std::runtime_error>([&] { tracker.AddReference(b, r); });
    const std::string reset =
        ThrownText<std::runtime_error>([&] { tracker.ResetReference(a, b, r); });
    tracker.AddReference(nullptr, r);
    symbolHandler = handler;
    EXPECT_EQ(add.compare(0, 22, "Singleton instance of "), 0) << add;
    EXPECT_EQ(reset, add);
    EXPECT_EQ(Dump(a).size(), 1u);
    EXPECT_TRUE(Dump(b).empty());
}

TEST_F(TrackList, OfTheProcessIsThere) {
    kq::debug::g_trackList.AddReference(a, r);
    kq::debug::g_trackList.Dump(a);
    EXPECT_EQ(output.Take().size(), 1u);
    kq::debug::g_trackList.RemoveReference(a, r);
    kq::debug::g_trackList.Dump(a);
    EXPECT_TRUE(output.Take().empty());
}

TEST(TrackListDump, LetsReferencesComeAndGoWhileItWrites) {
    track_list tracker;
    const int object = 0;
    const int references[3] = {};
    for (const int& reference : references)
        tracker.AddReference(&object, &reference);
    kq_test::Event isWriting;
    kq_test::Event isChanged;
    DebuggerOutput output([&](const std::wstring& /*text*/) {
        isWriting.Set();
        isChanged.Wait("a change during a dump");
    });
    std::thread dumping([&] { tracker.Dump(&object); });
    isWriting.Wait("a dump");
    const int another = 0;
    tracker.AddReference(&object, &another);
    for (const int& reference : references)
        tracker.RemoveReference(&object, &reference);
    isChanged.Set();
    dumping.join();
    // What was there when it began.
    EXPECT_EQ(output.Take().size(), 3u);
}

TEST(TrackListDump, IsNotMixedWithAnother) {
    constexpr std::size_t referenceCount = 20;
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t rounds = 5;
    track_list tracker;
    const int object = 0;
    const int references[referenceCount] = {};
    for (const int& reference : references)
        tracker.AddReference(&object, &reference);
    DebuggerOutput output;
    kq_test::Counter ready;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number != threadCount; ++number)
        threads.emplace_back([&] {
            ready.Add();
            ready.WaitFor(threadCount);
            for (std::size_t round = 0; round != rounds; ++round)
                tracker.DumpAll();
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::vector<DebuggerOutput::Message> messages = output.Messages();
    ASSERT_EQ(messages.size(), referenceCount * threadCount * rounds);
    for (std::size_t index = 0; index != messages.size(); ++index)
        EXPECT_EQ(messages[index].thread, messages[index - index % referenceCount].thread);
}

} // namespace
