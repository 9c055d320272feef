// The two standard outputs.
#pragma once

#include <cstddef>
#include <string_view>

namespace find_duplicates {

/// An output that is a terminal, a file or a pipe. One thread at a time.
class Console {
public:
    static Console Output();
    static Console Error();

    bool IsTerminal() const noexcept { return isTerminal_; }
    /// Characters that fit on one line of the terminal.
    std::size_t Width() const;
    /// Writes text: in the terminal's own encoding, and as UTF-8 to anything else. An output that
    /// was closed from the start swallows it. Throws `std::system_error`, such as when the reader
    /// of a pipe has gone.
    void Write(std::wstring_view text) const;

private:
    explicit Console(void* handle);

    void* handle_;
    bool isTerminal_;
};

} // namespace find_duplicates
