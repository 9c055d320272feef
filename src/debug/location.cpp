#include <kq/converter/string_cast.h>
#include <kq/debug/location.h>

#include <ostream>
#include <utility>

namespace kq::debug {

namespace {

std::wstring Wide(const std::string& text) { return converter::StringCast<std::wstring>(text); }

} // namespace

// NOLINTBEGIN(modernize-pass-by-value): the parameters are given
Location::Location(std::string const& signature, std::wstring const& filename, unsigned int line,
                   std::string const& timestamp, std::string const& compilationDate,
                   std::string const& compilationTime)
    : signature_(signature),
      filename_(filename),
      line_(line),
      timestamp_(timestamp),
      compilationDate_(compilationDate),
      compilationTime_(compilationTime) {}
// NOLINTEND(modernize-pass-by-value)

void Location::Swap(Location& other) noexcept { std::swap(*this, other); }

std::wstring Location::GetSignature() const { return Wide(signature_); }
std::wstring Location::GetFilename() const { return filename_; }
unsigned int Location::GetLine() const noexcept { return line_; }
std::wstring Location::GetTimestamp() const { return Wide(timestamp_); }
std::wstring Location::GetCompilationDate() const { return Wide(compilationDate_); }
std::wstring Location::GetCompilationTime() const { return Wide(compilationTime_); }

bool Location::operator==(Location const& other) const noexcept {
    return signature_ == other.signature_ && filename_ == other.filename_ && line_ == other.line_ &&
           timestamp_ == other.timestamp_ && compilationDate_ == other.compilationDate_ &&
           compilationTime_ == other.compilationTime_;
}

std::wostream& operator<<(std::wostream& stream, Location const& location) {
    return stream << location.GetSignature() << L" (" << location.GetFilename() << L", line "
                  << std::to_wstring(location.GetLine()) << L", modified at "
                  << location.GetTimestamp() << L", compiled at " << location.GetCompilationDate()
                  << L", " << location.GetCompilationTime() << L")";
}

} // namespace kq::debug
