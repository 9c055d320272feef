// What the user asks for on the command line.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace find_duplicates {

struct Arguments {
    std::wstring folder;
    std::uint64_t minSize = 1; ///< smaller files are left out
    bool tabbed = false;       ///< groups as tab-separated lines
    bool quiet = false;        ///< neither progress nor summary
    bool pause = false;        ///< keys suspend and resume the search
    std::wstring report;       ///< the file for the result, or empty
    std::wstring compare;      ///< the file with an earlier result, or empty
    bool help = false;
};

/// The command line makes no sense; `Message()` says why, in one line.
class BadArgument : public std::runtime_error {
public:
    explicit BadArgument(std::wstring message)
        : std::runtime_error("bad argument"), message_(std::move(message)) {}
    const std::wstring& Message() const noexcept { return message_; }

private:
    std::wstring message_;
};

/// Reads the arguments that follow the program's name. Throws `BadArgument`.
Arguments ParseArguments(const std::vector<std::wstring>& arguments);

/// The text of --help.
const wchar_t* HelpText();

} // namespace find_duplicates
