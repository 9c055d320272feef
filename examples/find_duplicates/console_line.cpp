#include "console_line.h"

#include "figures.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <string>
#include <utility>

namespace find_duplicates {
namespace {

using kq::progress::EProgressStatus;
using kq::progress::IProgressSignaler;
using kq::progress::ProgressState;

constexpr std::chrono::milliseconds terminalPeriod{100};
constexpr std::chrono::seconds plainPeriod{5};

std::wstring Describe(const ProgressState& state) {
    if (state.status == EProgressStatus::Cancelling)
        return L"Stopping";
    std::wstring line = state.text;
    const wchar_t* separator = L": ";
    const auto add = [&](const std::wstring& text) {
        line += std::exchange(separator, L", ") + text;
    };
    if (state.status != EProgressStatus::Indeterminate)
        add(std::to_wstring(static_cast<int>(100 * state.progress)) + L"%");
    if (state.note1)
        add(*state.note1);
    if (state.measure)
        add(FormatDuration(static_cast<std::uint64_t>(*state.measure)) + L" left");
    return line;
}

/// Called on every thread that works. Two of them may come in another order than their changes: so
/// each time the newest state is shown, whatever the call was for.
class Display {
public:
    Display(std::shared_ptr<IProgressSignaler> work, const Console& console)
        : work_(std::move(work)), console_(console) {}

    void Update() {
        const std::lock_guard guard(mutex_);
        const ProgressState state = work_->GetState();
        const bool isPaused = state.status == EProgressStatus::Suspended;
        const bool pauseChanged = std::exchange(isPaused_, isPaused) != isPaused;
        if (isPaused) {
            if (pauseChanged)
                Write(L"Paused; R goes on");
            return;
        }
        if (state.text.empty())
            return; // the work has not begun
        const bool stepChanged = std::exchange(step_, state.text) != state.text;
        const Clock::time_point now = Clock::now();
        if (stepChanged && !console_.IsTerminal())
            Write(state.text + (state.note2 ? L": " + *state.note2 : L""));
        else if (pauseChanged || now - shown_ >= Period())
            Write(Describe(state));
        else
            return;
        shown_ = now;
    }

    void End() {
        const std::lock_guard guard(mutex_);
        if (lineLength_ > 0)
            console_.Write(L"\r" + std::wstring(lineLength_, L' ') + L"\r");
        lineLength_ = 0;
    }

private:
    using Clock = std::chrono::steady_clock;

    Clock::duration Period() const {
        return console_.IsTerminal() ? Clock::duration(terminalPeriod)
                                     : Clock::duration(plainPeriod);
    }

    void Write(const std::wstring& line) {
        if (console_.IsTerminal())
            Rewrite(line);
        else
            console_.Write(line + L"\n");
    }

    void Rewrite(std::wstring line) {
        line.resize(std::min(line.size(), console_.Width()));
        const std::size_t length = line.size();
        if (length < lineLength_)
            line.append(lineLength_ - length, L' '); // over the end of the longer line before
        console_.Write(L"\r" + line);
        lineLength_ = length;
    }

    std::mutex mutex_;
    const std::shared_ptr<IProgressSignaler> work_;
    const Console console_;
    std::wstring step_;
    bool isPaused_ = false;
    Clock::time_point shown_;
    std::size_t lineLength_ = 0; ///< of the line that is on the terminal now
};

} // namespace

ConsoleLine::ConsoleLine(const std::shared_ptr<IProgressSignaler>& work, const Console& console) {
    // The connection may be released while another thread is in a call: so the callables own what
    // they use.
    const auto display = std::make_shared<Display>(work, console);
    connection_ = work->Connect([display](ProgressState const&) { display->Update(); }, {},
                                [display] { display->End(); });
}

} // namespace find_duplicates
