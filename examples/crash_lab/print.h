// The program's output.
#pragma once

#include <string_view>

namespace crash_lab {

/// Writes `text` to the standard output, as UTF-8 and at once: the program may be about to end.
void Print(std::wstring_view text);

} // namespace crash_lab
