#include "progress.h"

#include "figures.h"

#include <algorithm>
#include <utility>

namespace find_duplicates {
namespace {

constexpr std::chrono::milliseconds terminalPeriod{100};
constexpr std::chrono::seconds plainPeriod{5};

/// Opening a file takes about as long as reading so many bytes more.
constexpr std::uint64_t costOfOpening = std::uint64_t{32} * 1024;

double Effort(std::uint64_t files, std::uint64_t bytes) {
    return static_cast<double>(bytes) + static_cast<double>(files) * costOfOpening;
}

} // namespace

void Progress::Begin(std::wstring title) {
    extentKnown_ = false;
    title_ = std::move(title);
    begin_ = shown_ = Clock::now();
    if (!quiet_ && !console_.IsTerminal())
        console_.Write(title_ + L"\n");
}

void Progress::Begin(std::wstring title, std::uint64_t files, std::uint64_t bytes) {
    Begin(title + L": " + FormatCount(files, L"file") + L", " + FormatSize(bytes));
    title_ = std::move(title);
    extentKnown_ = true;
    allFiles_ = files;
    allBytes_ = bytes;
}

void Progress::Show(std::uint64_t files, std::uint64_t bytes) {
    if (quiet_)
        return;
    const Clock::time_point now = Clock::now();
    const Clock::duration period =
        console_.IsTerminal() ? Clock::duration(terminalPeriod) : Clock::duration(plainPeriod);
    if (now - shown_ < period)
        return;
    shown_ = now;
    if (console_.IsTerminal())
        Rewrite(Describe(files, bytes));
    else
        console_.Write(Describe(files, bytes) + L"\n");
}

void Progress::End() {
    if (lineLength_ > 0)
        console_.Write(L"\r" + std::wstring(lineLength_, L' ') + L"\r");
    lineLength_ = 0;
}

std::wstring Progress::Describe(std::uint64_t files, std::uint64_t bytes) const {
    if (!extentKnown_)
        return title_ + L": " + FormatCount(files, L"file") + L", " + FormatSize(bytes);

    const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
    const double done = Effort(files, bytes);
    const double all = Effort(allFiles_, allBytes_);
    const double share = all > 0 ? std::min(done / all, 1.0) : 1.0;
    std::wstring line =
        title_ + L": " + std::to_wstring(static_cast<int>(100 * share)) + L"%, " +
        FormatCount(files, L"file") + L", " + FormatSize(bytes) + L", " +
        FormatSize(static_cast<std::uint64_t>(static_cast<double>(bytes) / seconds)) + L"/s";
    if (share > 0)
        line += L", " + FormatDuration(static_cast<std::uint64_t>(seconds * (1 - share) / share)) +
                L" left";
    return line;
}

void Progress::Rewrite(std::wstring line) {
    line.resize(std::min(line.size(), console_.Width()));
    const std::size_t length = line.size();
    if (length < lineLength_)
        line.append(lineLength_ - length, L' '); // over the end of the longer line before
    console_.Write(L"\r" + line);
    lineLength_ = length;
}

} // namespace find_duplicates
