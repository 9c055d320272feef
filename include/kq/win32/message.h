// Texts from message tables, with typed arguments.
#pragma once

#include <kq/export.h>
#include <kq/win32/types.h>

#include <boost/optional.hpp>
#include <boost/variant.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kq {
namespace win32 {

/// The number of a message in a message table.
struct MessageId {
    std::uint32_t value; ///< any value; a system error code names that error's message
};

/// A Windows language identifier (`MAKELANGID`).
struct LanguageId {
    std::uint16_t value; ///< 0: the system looks in its default order of languages
};

/// What can be inserted into a message. Other integer types (`unsigned long`, for one) convert to
/// several of these and have to be cast by the caller.
using MessageArgument = boost::variant<std::string, std::wstring, int, unsigned int, long long,
                                       unsigned long long, float, double>;

struct MessageArgumentsImpl;
struct MessageImpl;

/// The insertion arguments of a message, rendered as text at the moment when they are added: the
/// first is %1 in the message, the second %2. A value type; a copy is independent. Different
/// objects may be used on different threads at once.
///
///     auto arguments = MessageArguments() << fileName << 3.5;
class MessageArguments {
public:
    /// No arguments.
    KQ_API MessageArguments();
    /// An independent copy.
    KQ_API MessageArguments(const MessageArguments& other);
    /// As above.
    KQ_API MessageArguments& operator=(const MessageArguments& other);
    KQ_API ~MessageArguments();

    /// Renders `argument` and adds it; returns this object. The rendering is the same under every
    /// locale, but for `std::string`:
    /// - `std::string` is cast to wide text by `converter::StringCast` with the global locale;
    /// - `std::wstring` is taken as it is (a message shows it up to its first zero);
    /// - integers become decimal digits, after a "-" when negative, without grouping or padding;
    /// - `float` and `double` become fixed notation with one digit after the point: 2 is "2.0" and
    ///   3.14159 is "3.1".
    /// When rendering throws, nothing is added.
    KQ_API MessageArguments& operator<<(const MessageArgument& argument);

    /// The number of arguments added.
    KQ_API unsigned long long GetCount() const noexcept;
    /// The rendered arguments in the order in which they were added.
    KQ_API std::vector<std::wstring> GetFormatted() const;

private:
    std::unique_ptr<MessageArgumentsImpl> impl_;
};

/// A message with its source and its arguments, formatted on demand. A value type; a copy is
/// independent. Different objects may be used on different threads at once. A module is not kept
/// loaded by its messages.
class Message {
public:
    /// A message of `module`'s message table, without arguments. A null handle is the executable.
    KQ_API Message(HINSTANCE__* const& module, const MessageId& id);
    /// A message of `module`'s message table. A null handle is the executable.
    KQ_API Message(HINSTANCE__* const& module, const MessageId& id,
                   const MessageArguments& arguments);
    /// A message of the system, without arguments.
    KQ_API explicit Message(const MessageId& id);
    /// A message of the system.
    KQ_API Message(const MessageId& id, const MessageArguments& arguments);
    /// An independent copy.
    KQ_API Message(const Message& other);
    /// As above; changes nothing when it throws.
    KQ_API Message& operator=(const Message& other);
    KQ_API ~Message();

    /// The text in `language`, as `FormatMessageResource` or `FormatSystemMessageResource` makes
    /// it, with the same exceptions.
    KQ_API std::wstring Format(const LanguageId& language) const;
    /// The text in the first language of the system's default order that has the message.
    KQ_API std::wstring Format() const;
    /// As `Format`, but empty when that throws a `std::runtime_error`. Other exceptions
    /// (`std::bad_alloc`) leave.
    KQ_API boost::optional<std::wstring> TryFormat(const LanguageId& language) const;
    /// As above, in the first language of the system's default order that has the message.
    KQ_API boost::optional<std::wstring> TryFormat() const;

private:
    std::unique_ptr<MessageImpl> impl_;
};

/// Formats message `id` of `module`'s message table in `language` (`FormatMessageW`), with
/// `arguments` at its inserts %1 to %42; an insert without an argument shows what the platform
/// makes of a null text. A null `module` is the executable. The text is not trimmed: the line break
/// that ends most entries of message tables is part of it.
///
/// Throws `std::runtime_error("Failed to format message!")` when the module has no such message in
/// that language, when the text is empty or longer than 1023 characters, and when there are more
/// than 42 arguments. Callable from any thread.
KQ_API std::wstring FormatMessageResource(HINSTANCE__* const& module, const LanguageId& language,
                                          const MessageId& id, const MessageArguments& arguments);

/// As above, from the system's message table.
KQ_API std::wstring FormatSystemMessageResource(const LanguageId& language, const MessageId& id,
                                                const MessageArguments& arguments);

} // namespace win32
} // namespace kq
