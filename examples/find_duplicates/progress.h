// What the user sees while the program is at work.
#pragma once

#include "console.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace find_duplicates {

/// Shows how far the work has come: on a terminal as one line that is written over and over, else
/// as a plain line at the beginning of a piece of work and every few seconds. For one thread.
class Progress {
public:
    /// Writes to `console`, or nothing at all.
    Progress(const Console& console, bool quiet) : console_(console), quiet_(quiet) {}

    /// A piece of work begins whose extent is not known.
    void Begin(std::wstring title);
    /// A piece of work begins on so many files, of which so many bytes will be read.
    void Begin(std::wstring title, std::uint64_t files, std::uint64_t bytes);
    /// Brings the display up to date, when it is time to: so many files and bytes are done. Call
    /// this several times a second.
    void Show(std::uint64_t files, std::uint64_t bytes);
    /// Wipes the line off the terminal.
    void End();

private:
    using Clock = std::chrono::steady_clock;

    std::wstring Describe(std::uint64_t files, std::uint64_t bytes) const;
    void Rewrite(std::wstring line);

    const Console& console_;
    const bool quiet_;
    std::wstring title_;
    bool extentKnown_ = false;
    std::uint64_t allFiles_ = 0;
    std::uint64_t allBytes_ = 0;
    Clock::time_point begin_;
    Clock::time_point shown_;
    std::size_t lineLength_ = 0; ///< of the line that is on the terminal now
};

} // namespace find_duplicates
