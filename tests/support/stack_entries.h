// Frames of a call stack, and where they lie.
#pragma once

#include <kq/debug/call_stack.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace kq_test {

using Stack = std::vector<kq::debug::CallStackEntry>;

/// Whether `entry` is a frame of the function `name`, in whatever namespace: not all symbols say.
inline bool IsFrameOf(const kq::debug::CallStackEntry& entry, const std::string& name) {
    const std::string& symbol = entry.symbolName;
    if (symbol.size() < name.size() ||
        symbol.compare(symbol.size() - name.size(), name.size(), name) != 0)
        return false;
    return symbol.size() == name.size() || symbol[symbol.size() - name.size() - 1] == ':';
}

/// The innermost frame of the function `name`; null when there is none.
inline const kq::debug::CallStackEntry* FindFrame(const Stack& stack, const std::string& name) {
    const auto found = std::find_if(stack.begin(), stack.end(),
                                    [&](const auto& entry) { return IsFrameOf(entry, name); });
    return found == stack.end() ? nullptr : &*found;
}

/// How many frames of the function `name` there are.
inline std::size_t CountFrames(const Stack& stack, const std::string& name) {
    return static_cast<std::size_t>(std::count_if(
        stack.begin(), stack.end(), [&](const auto& entry) { return IsFrameOf(entry, name); }));
}

/// What stands behind the last slash or backslash of `path`.
template <class Character>
std::basic_string<Character> FileNameOf(const std::basic_string<Character>& path) {
    const Character slashes[] = {'/', '\\', 0};
    return path.substr(path.find_last_of(slashes) + 1);
}

} // namespace kq_test
