#include <windows.h>

#include <kq/win32/environment.h>

#include "win32/expansion.h"

namespace kq::win32 {

std::wstring ReplaceEnvironmentVariables(const std::wstring& text) {
    return ExpandReferences(text, ExpandEnvironmentStringsW);
}

} // namespace kq::win32
