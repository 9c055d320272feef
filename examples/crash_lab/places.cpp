#include "places.h"

#include "crash_filter.h"

#include <kq/concurrency/job_queue.h>
#include <kq/win32/message_pump.h>

#include <exception>
#include <thread>

namespace crash_lab {
namespace {

using namespace kq::concurrency;

void RunHere(void (*function)()) {
    ReportOverflowsOfThisThread();
    function();
}

void RunOnThread(void (*function)()) {
    std::exception_ptr exception;
    std::thread([function, &exception] {
        try {
            RunHere(function);
        } catch (...) {
            exception = std::current_exception();
        }
    }).join();
    if (exception != nullptr)
        std::rethrow_exception(exception);
}

void RunInPool(void (*function)()) {
    jobQueue->Queue([function] { RunHere(function); }).Wait();
}

void RunInUI(void (*function)()) {
    const CJobTicket ticket = jobQueue->Queue([function] { RunHere(function); }, inUIAsync);
    kq::win32::PumpMessageQueue();
    ticket.Wait();
}

} // namespace

const std::vector<Place>& AllPlaces() {
    static const std::vector<Place> places{
        {L"main", L"in the main function", RunHere},
        {L"thread", L"on a thread of the program's own", RunOnThread},
        {L"pool", L"in a job on a pool thread", RunInPool},
        {L"ui", L"in a job in the message loop", RunInUI},
    };
    return places;
}

} // namespace crash_lab
