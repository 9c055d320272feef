#include "xml/parse_error.h"

#include <kq/converter/string_cast.h>

#include "xml/text.h"

#include <stdexcept>
#include <string>

namespace kq::xml {

void ThrowParseError(const DocumentPointer& document, const char* failure) {
    ParseErrorPointer error;
    _com_util::CheckError(document->get_parseError(&error));
    PlatformText reason;
    _com_util::CheckError(error->get_reason(reason.GetAddress()));
    long line = 0;
    _com_util::CheckError(error->get_line(&line));
    long column = 0;
    _com_util::CheckError(error->get_linepos(&column));
    throw std::runtime_error(failure + (": " + converter::StringCast<std::string>(reason.Get())) +
                             " in line " + std::to_string(line) + " at character " +
                             std::to_string(column));
}

} // namespace kq::xml
