#include <kq/converter/string_cast.h>
#include <kq/debug/call_stack.h>

#include <boost/filesystem/path.hpp>

#include <ios>
#include <ostream>

namespace kq::debug {

namespace {

/// Gives a stream its formatting back. Its errors are not touched: whoever writes to the stream has
/// to learn of them.
class FormattingGuard {
public:
    explicit FormattingGuard(std::wostream& stream)
        : stream_(stream),
          flags_(stream.flags()),
          width_(stream.width()),
          precision_(stream.precision()),
          fill_(stream.fill()) {}
    ~FormattingGuard() {
        stream_.flags(flags_);
        stream_.width(width_);
        stream_.precision(precision_);
        stream_.fill(fill_);
    }
    FormattingGuard(const FormattingGuard&) = delete;
    FormattingGuard& operator=(const FormattingGuard&) = delete;

private:
    std::wostream& stream_;
    std::ios_base::fmtflags flags_;
    std::streamsize width_;
    std::streamsize precision_;
    wchar_t fill_;
};

std::wstring Quoted(const std::wstring& text) {
    std::wstring quoted = L"\"";
    for (const wchar_t character : text) {
        if (character == L'"' || character == L'&')
            quoted += L'&';
        quoted += character;
    }
    return quoted + L'"';
}

std::wstring Wide(const std::string& text) { return converter::StringCast<std::wstring>(text); }

} // namespace

std::wostream& operator<<(std::wostream& stream, CallStackEntry const& entry) {
    const FormattingGuard guard(stream);
    stream.width(0);
    if (!entry.moduleName.empty())
        stream << Quoted(boost::filesystem::path(entry.moduleName).filename().wstring()) << L": ";
    stream << (entry.symbolName.empty() ? L"n/a" : Wide(entry.symbolName)) << L" (";
    if (!entry.fileName.empty())
        stream << Wide(entry.fileName) << L", line " << entry.lineNumber << L" + 0x" << std::hex
               << std::noshowbase << entry.lineDisplacement;
    else
        stream << L"offset 0x" << std::hex << std::noshowbase << entry.address;
    return stream << L")";
}

std::wostream& operator<<(std::wostream& stream, std::vector<CallStackEntry> const& stack) {
    bool isFirst = true;
    for (const CallStackEntry& entry : stack) {
        if (!isFirst)
            stream << std::endl;
        stream << entry;
        isFirst = false;
    }
    return stream;
}

} // namespace kq::debug
