#include <windows.h>

#include <kq/converter/string_cast.h>
#include <kq/win32/message.h>

#include <boost/format.hpp>

#include <array>
#include <locale>
#include <stdexcept>

namespace kq::win32 {
namespace {

constexpr LanguageId anyLanguage = {0};

// Renders an argument as text.
struct Renderer : boost::static_visitor<std::wstring> {
    std::wstring operator()(const std::string& text) const {
        return converter::StringCast<std::wstring>(text);
    }
    std::wstring operator()(const std::wstring& text) const { return text; }
    std::wstring operator()(float number) const { return FixedPoint(number); }
    std::wstring operator()(double number) const { return FixedPoint(number); }
    template <class Integer>
    std::wstring operator()(Integer number) const {
        return std::to_wstring(number);
    }

private:
    // A formatter of its own for each number, because a formatter is changed by its use and any
    // thread may be here; with a locale of its own, because the global one may group digits.
    template <class Number>
    static std::wstring FixedPoint(Number number) {
        return (boost::wformat(L"%.1f", std::locale::classic()) % number).str();
    }
};

// Formats a message of `module`, or of the system when there is no module. A null handle is a
// module too: the executable.
std::wstring FormatResource(const boost::optional<HINSTANCE>& module, const LanguageId& language,
                            const MessageId& id, const MessageArguments& arguments) {
    constexpr std::size_t maximumOfArguments = 42;
    // The platform does not know how many slots there are. A text can name them up to %99, and
    // "%99!*.*s!" reads two more; all that are not filled are null.
    constexpr std::size_t readableSlots = 101;
    constexpr char failure[] = "Failed to format message!";

    const std::vector<std::wstring> rendered = arguments.GetFormatted();
    if (rendered.size() > maximumOfArguments)
        throw std::runtime_error(failure);
    std::array<DWORD_PTR, readableSlots> inserts{};
    for (std::size_t i = 0; i != rendered.size(); ++i)
        inserts[i] = reinterpret_cast<DWORD_PTR>(rendered[i].c_str());

    std::array<wchar_t, 1024> text{};
    const DWORD source = module ? FORMAT_MESSAGE_FROM_HMODULE : FORMAT_MESSAGE_FROM_SYSTEM;
    const DWORD length =
        FormatMessageW(source | FORMAT_MESSAGE_ARGUMENT_ARRAY, module ? *module : nullptr, id.value,
                       language.value, text.data(), static_cast<DWORD>(text.size()),
                       reinterpret_cast<va_list*>(inserts.data()));
    if (length == 0)
        throw std::runtime_error(failure);
    return std::wstring(text.data(), length);
}

} // namespace

struct MessageArgumentsImpl {
    std::vector<std::wstring> rendered{};
};

MessageArguments::MessageArguments() : impl_(std::make_unique<MessageArgumentsImpl>()) {}

MessageArguments::MessageArguments(const MessageArguments& other)
    : impl_(std::make_unique<MessageArgumentsImpl>(*other.impl_)) {}

MessageArguments& MessageArguments::operator=(const MessageArguments& other) {
    *impl_ = *other.impl_;
    return *this;
}

MessageArguments::~MessageArguments() = default;

MessageArguments& MessageArguments::operator<<(const MessageArgument& argument) {
    impl_->rendered.push_back(boost::apply_visitor(Renderer(), argument));
    return *this;
}

unsigned long long MessageArguments::GetCount() const noexcept { return impl_->rendered.size(); }

std::vector<std::wstring> MessageArguments::GetFormatted() const { return impl_->rendered; }

struct MessageImpl {
    boost::optional<HINSTANCE> module;
    MessageId id;
    MessageArguments arguments;
};

Message::Message(HINSTANCE const& module, const MessageId& id)
    : Message(module, id, MessageArguments()) {}

Message::Message(HINSTANCE const& module, const MessageId& id, const MessageArguments& arguments)
    : impl_(new MessageImpl{module, id, arguments}) {}

Message::Message(const MessageId& id) : Message(id, MessageArguments()) {}

Message::Message(const MessageId& id, const MessageArguments& arguments)
    : impl_(new MessageImpl{boost::none, id, arguments}) {}

Message::Message(const Message& other) : impl_(std::make_unique<MessageImpl>(*other.impl_)) {}

Message& Message::operator=(const Message& other) {
    // Through a copy, so that this object is unchanged when there is no memory for the arguments.
    auto copy = std::make_unique<MessageImpl>(*other.impl_);
    impl_ = std::move(copy);
    return *this;
}

Message::~Message() = default;

std::wstring Message::Format(const LanguageId& language) const {
    return FormatResource(impl_->module, language, impl_->id, impl_->arguments);
}

std::wstring Message::Format() const { return Format(anyLanguage); }

boost::optional<std::wstring> Message::TryFormat(const LanguageId& language) const {
    try {
        return Format(language);
    } catch (const std::runtime_error&) {
        return boost::none;
    }
}

boost::optional<std::wstring> Message::TryFormat() const { return TryFormat(anyLanguage); }

std::wstring FormatMessageResource(HINSTANCE const& module, const LanguageId& language,
                                   const MessageId& id, const MessageArguments& arguments) {
    return FormatResource(boost::optional<HINSTANCE>(module), language, id, arguments);
}

std::wstring FormatSystemMessageResource(const LanguageId& language, const MessageId& id,
                                         const MessageArguments& arguments) {
    return FormatResource(boost::none, language, id, arguments);
}

} // namespace kq::win32
