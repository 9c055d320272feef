// UI jobs while the host, or another UI job, is inside a message loop of its own.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"
#include "support/ui_messages.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using kq_test::Event;

namespace {

struct EmptyDialog {
    DLGTEMPLATE header{WS_CHILD, 0, 0, 0, 0, 100, 50};
    WORD menu = 0;
    WORD windowClass = 0;
    WORD title = 0;
};

INT_PTR CALLBACK DialogProcedure(HWND dialog, UINT message, WPARAM /*wParam*/, LPARAM lParam) {
    if (message == WM_INITDIALOG)
        *reinterpret_cast<HWND*>(lParam) = dialog;
    return FALSE;
}

// A modal dialog of the system; ends when somebody calls `EndDialog` for `dialog`. Its parent is
// that of all message-only windows, so that it needs no display.
INT_PTR RunDialog(HWND& dialog) {
    const HWND messageOnly = CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE,
                                             nullptr, GetModuleHandleW(nullptr), nullptr);
    EmptyDialog description;
    const INT_PTR result = DialogBoxIndirectParamW(
        GetModuleHandleW(nullptr), &description.header, GetAncestor(messageOnly, GA_PARENT),
        DialogProcedure, reinterpret_cast<LPARAM>(&dialog));
    DestroyWindow(messageOnly);
    return result;
}

TEST(UIModalLoop, OfTheSystemRunsJobs) {
    CUIJobQueue queue;
    HWND dialog = nullptr;
    constexpr INT_PTR result = 7;
    int ran = 0;
    bool isOpen = false;
    CJobTicket first;
    std::thread([&] { first = queue.Queue([&] { ++ran; }); }).join();
    queue.Queue(
        [&] {
            ++ran;
            EndDialog(dialog, result);
        },
        isBlocking & condition([&] {
            return isOpen && dialog != nullptr ? StartInfo::Start : StartInfo::Postpone;
        }));
    queue.Queue(
        [&] {
            ++ran;
            isOpen = true;
        },
        isBlocking & after(first));
    EXPECT_EQ(RunDialog(dialog), result);
    EXPECT_EQ(ran, 3);
}

TEST(UIModalLoop, RunsTheJobsThatAreQueuedDuringIt) {
    HWND dialog = nullptr;
    constexpr INT_PTR result = 3;
    std::string order;
    std::thread worker;
    const CJobTicket first = jobQueue->Queue(
        [&] {
            order += 'a';
            worker = std::thread([&] {
                const CJobTicket second = jobQueue->Queue([&] { order += 'b'; }, inUI);
                second.Wait();
                jobQueue
                    ->Queue(
                        [&] {
                            order += 'c';
                            EndDialog(dialog, result);
                        },
                        inUIAsync & after(jobQueue->Queue([] {}, dependsOn(second))))
                    .Wait();
            });
        },
        inUIAsync);
    ASSERT_EQ(RunDialog(dialog), result);
    worker.join();
    EXPECT_EQ(order, "abc");
}

TEST(UIModalLoop, OfAJobRunsTheJobsBehindIt) {
    CUIJobQueue queue;
    std::string order;
    queue.Queue(
        [&] {
            order += '(';
            DispatchUntil([&] { return order == "(ab"; }, "the jobs behind the running one");
            order += ')';
        },
        inUIAsync);
    queue.Queue([&] { order += 'a'; }, inUIAsync);
    queue.Queue([&] { order += 'b'; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "(ab)");
}

TEST(UIModalLoop, OfAJobAsksTheConditionsOfOthers) {
    CUIJobQueue queue;
    bool isOpen = false;
    bool hasRun = false;
    queue.Queue([&] { hasRun = true; }, isBlocking & condition([&] {
                                            return isOpen ? StartInfo::Start : StartInfo::Postpone;
                                        }));
    queue.Queue(
        [&] {
            isOpen = true;
            DispatchUntil([&] { return hasRun; }, "a job with a condition");
        },
        inUIAsync);
    queue.Pump();
    EXPECT_TRUE(hasRun);
}

TEST(UIModalLoop, OfADialogThatAJobOpensRunsTheJobsBehindIt) {
    CUIJobQueue queue;
    HWND dialog = nullptr;
    constexpr INT_PTR expected = 5;
    INT_PTR result = 0;
    queue.Queue([&] { result = RunDialog(dialog); }, inUIAsync);
    queue.Queue([&] { EndDialog(dialog, expected); }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(result, expected);
}

TEST(UIModalLoop, OfAnInlineJobRunsJobsOfOthers) {
    bool hasRun = false;
    Event done;
    jobQueue->Queue(
        [&] {
            const CJobTicket last = jobQueue->Queue(
                [&] { hasRun = true; }, inUI & after(jobQueue->Queue([] {}, isBlocking)));
            jobQueue->Queue([&done] { done.Set(); }, isBlocking & after(last));
            DispatchUntil([&done] { return done.IsSet(); });
        },
        inUI);
    EXPECT_TRUE(hasRun);
}

// Two jobs, each inside a loop of its own that ends with what the other one's loop runs.
TEST(UIModalLoop, LoopsNest) {
    CUIJobQueue queue;
    std::string order;
    const auto loop = [&](char name, char awaited) {
        return [&order, name, awaited] {
            order += name;
            DispatchUntil([&] { return order.find(awaited) != std::string::npos; });
        };
    };
    queue.Queue(loop('1', '2'), inUIAsync);
    queue.Queue(loop('2', '3'), inUIAsync);
    queue.Queue(loop('3', '4'), inUIAsync);
    queue.Queue([&] { order += '4'; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "1234");
}

} // namespace
