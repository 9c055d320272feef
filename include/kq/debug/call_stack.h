// Call stacks, resolved to functions, modules and source lines, and their text.
#pragma once

#include <kq/export.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace kq {
namespace debug {

/// One resolved frame of a call stack. What could not be found out is left empty or 0.
struct CallStackEntry {
    /// A frame at `programCounter`, of which nothing else is known.
    explicit CallStackEntry(std::uint64_t programCounter) : address(programCounter) {}

    /// The program counter of the frame: for every frame but the innermost, the instruction that
    /// the call made there returns to. The source line of that instruction may be the one after the
    /// call.
    std::uint64_t address;
    /// The function, readable where the symbols are: "kq::debug::SymbolHandler::GetCallStack".
    std::string symbolName;
    /// The full name of the image file whose code stands at `address`.
    std::wstring moduleName;
    /// The source file that holds the line of `address`.
    std::string fileName;
    /// The source line that `address` belongs to.
    std::uint32_t lineNumber = 0;
    /// Bytes from the first instruction of that line to `address`.
    std::uint32_t lineDisplacement = 0;
};

/// Prints one frame, as
///
///     "host.exe": Host::Open (C:\src\host.cpp, line 42 + 0x1f)
///
/// The file name of the module stands in double quotes, with an ampersand before each double quote
/// and ampersand in it; without a module that part and the colon are missing. A frame without a
/// symbol shows "n/a" for its name, and one without a source file "offset 0x" and its address in
/// the parentheses. The line is printed in the base that the stream is set to, displacement and
/// address in hexadecimal, in upper case if the stream says so.
///
/// Width and fill are not used. The formatting of the stream (flags, width, precision, fill) is as
/// before when this returns or an exception leaves; errors of the stream stay.
KQ_API std::wostream& operator<<(std::wostream& stream, CallStackEntry const& entry);

/// Prints the frames in their order with `std::endl` between them: nothing before the first and
/// nothing after the last.
KQ_API std::wostream& operator<<(std::wostream& stream, std::vector<CallStackEntry> const& stack);

} // namespace debug
} // namespace kq
