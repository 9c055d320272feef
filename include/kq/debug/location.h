// Places in the source.
#pragma once

#include <kq/export.h>

#include <iosfwd>
#include <string>

/// The place where this macro stands, as a `kq::debug::Location`: the whole signature of the
/// function around it, file, line, when the file was last modified, and when it was compiled, in
/// the forms that the compiler's own macros give them.
///
///     std::wcerr << KQ_LOCATION << std::endl;
///
/// The time of compilation makes two builds of the same source differ.
#define KQ_LOCATION                                                      \
    ::kq::debug::Location(KQ_DETAIL_SIGNATURE, KQ_DETAIL_WIDE(__FILE__), \
                          static_cast<unsigned int>(__LINE__), __TIMESTAMP__, __DATE__, __TIME__)

#if defined(_MSC_VER)
#define KQ_DETAIL_SIGNATURE __FUNCSIG__
#else
#define KQ_DETAIL_SIGNATURE __PRETTY_FUNCTION__
#endif
// In two steps, because what stands beside ## is not expanded.
#define KQ_DETAIL_WIDE(literal) KQ_DETAIL_WIDE_PREFIX(literal)
#define KQ_DETAIL_WIDE_PREFIX(literal) L##literal

namespace kq {
namespace debug {

/// Where something happens in the source. A plain value: one and the same object may be read by
/// several threads, and changed by one while no other uses it.
class Location {
public:
    /// Stores the values as they are; `KQ_LOCATION` gives those of the current place.
    KQ_API Location(std::string const& signature, std::wstring const& filename, unsigned int line,
                    std::string const& timestamp, std::string const& compilationDate,
                    std::string const& compilationTime);

    /// Exchanges everything with `other`.
    KQ_API void Swap(Location& other) noexcept;

    /// The signature of the function. Cast character by character, as the other narrow texts.
    KQ_API std::wstring GetSignature() const;
    /// The name of the source file.
    KQ_API std::wstring GetFilename() const;
    /// The number of the line.
    KQ_API unsigned int GetLine() const noexcept;
    /// When the source file was last modified, as "Sat Nov 21 06:05:12 2026".
    KQ_API std::wstring GetTimestamp() const;
    /// The day of the compilation, as "Nov 21 2026".
    KQ_API std::wstring GetCompilationDate() const;
    /// The time of the compilation, as "06:05:12".
    KQ_API std::wstring GetCompilationTime() const;

    /// Whether everything is equal, character by character.
    KQ_API bool operator==(Location const& other) const noexcept;
    /// Whether anything differs.
    bool operator!=(Location const& other) const noexcept { return !(*this == other); }

private:
    std::string signature_;
    std::wstring filename_;
    unsigned int line_;
    std::string timestamp_;
    std::string compilationDate_;
    std::string compilationTime_;
};

/// Prints a location on one line, without a line break, as
///
///     void Host::Open() (host.cpp, line 42, modified at Sat Nov 21 06:05:12 2026, compiled at
///     Nov 21 2026, 06:05:12)
///
/// The line is a decimal number whatever the stream is set to; the flags of the stream are left as
/// they are.
KQ_API std::wostream& operator<<(std::wostream& stream, Location const& location);

} // namespace debug
} // namespace kq
