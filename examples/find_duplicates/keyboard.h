// Keys at the standard input.
#pragma once

#include <string>

namespace find_duplicates {

/// Takes the characters that are typed: on a terminal as soon as a key is pressed, without showing
/// them there; from a pipe as they come. An input that is neither is left alone. One thread at a
/// time.
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /// What was typed since the last call; does not wait.
    std::wstring Typed();

private:
    void* const handle_;
    const bool isPipe_;
    bool isTerminal_ = false;
    unsigned long mode_ = 0; ///< of the terminal before
};

} // namespace find_duplicates
