// Globally unique identifiers.
#pragma once

#include <kq/export.h>

#include <boost/operators.hpp>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

/// The platform's `GUID` (also `UUID`, `IID`, `CLSID`), which a host gets from the platform's
/// headers.
struct _GUID;

namespace kq {
namespace type {

/// A globally unique identifier: a plain value of 16 bytes, with the platform's RPC functions as
/// its operations. It has every comparison operator and a `std::hash`, so it can be the key of any
/// container. Copies and moves copy the bytes and never fail; a moved-from identifier keeps its
/// value.
///
/// Different objects may be used on different threads at once.
class Guid : private boost::totally_ordered<Guid> {
public:
    /// A new identifier, from `UuidCreate`. Throws `std::runtime_error("Failed to create GUID!")`
    /// when the platform has none, or only one that is unique just on this computer.
    KQ_API Guid();
    /// Wraps `value`.
    KQ_API Guid(const _GUID& value) noexcept;
    /// Reads a text of 36 characters, hexadecimal digits of either case in groups of 8-4-4-4-12
    /// with "-" between them and no braces (`UuidFromStringW`). Throws
    /// `std::logic_error("Failed to parse string as GUID!")` for any other text.
    KQ_API explicit Guid(const std::wstring& text);

    /// Whether the constructor reads `text`.
    KQ_API static bool IsValidString(const std::wstring& text);

    /// The value; the caller needs the platform's header that defines the structure.
    KQ_API _GUID Get() const noexcept;
    /// The text that the constructor reads, with lower-case digits (`UuidToStringW`). Throws
    /// `std::runtime_error("Failed to create GUID string!")`.
    KQ_API std::wstring ToString() const;

    /// `UuidEqual`. Throws `std::runtime_error("Failed to test GUIDs for equality!")`.
    KQ_API bool operator==(const Guid& other) const;
    /// The order of `UuidCompare`, which is not that of the bytes and need not be that of the
    /// texts. Throws `std::runtime_error("Failed to compare GUIDs!")`.
    KQ_API bool operator<(const Guid& other) const;

private:
    friend struct std::hash<Guid>;
    KQ_API std::size_t Hash() const noexcept;

    // As the platform's structure, which is aligned to its first field of 32 bits.
    alignas(4) unsigned char bytes_[16] = {};
};

/// Writes `guid.ToString()`.
KQ_API std::wostream& operator<<(std::wostream& stream, const Guid& guid);

} // namespace type
} // namespace kq

/// Equal identifiers have equal hashes.
template <>
struct std::hash<kq::type::Guid> {
    /// The hash of the 16 bytes.
    std::size_t operator()(const kq::type::Guid& guid) const noexcept { return guid.Hash(); }
};
