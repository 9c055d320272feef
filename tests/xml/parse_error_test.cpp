#include "xml/parse_error.h"

#include "support/com_failure.h"
#include "support/thrown.h"
#include "xml/failing_dom.h"

#include <gtest/gtest.h>

#include <string>

using kq::xml::DocumentPointer;
using kq::xml::ThrowParseError;

namespace {

class Error final : public failing::ParseError {
public:
    Error(const wchar_t* reason, long line, long column)
        : reason_(reason), line_(line), column_(column) {}

    STDMETHODIMP get_reason(BSTR* reason) override {
        *reason = SysAllocString(reason_);
        return reason_ == nullptr ? S_FALSE : S_OK;
    }
    STDMETHODIMP get_line(long* line) override {
        *line = line_;
        return S_OK;
    }
    STDMETHODIMP get_linepos(long* column) override {
        *column = column_;
        return S_OK;
    }

private:
    const wchar_t* const reason_;
    const long line_;
    const long column_;
};

class FailedDocument final : public failing::Document {
public:
    explicit FailedDocument(IXMLDOMParseError* error) : error_(error) {}
    STDMETHODIMP get_parseError(IXMLDOMParseError** error) override {
        *error = error_;
        return error_ == nullptr ? S_FALSE : S_OK;
    }

private:
    IXMLDOMParseError* const error_;
};

void Throw(IXMLDOMParseError* error) {
    FailedDocument document(error);
    ThrowParseError(DocumentPointer(static_cast<IXMLDOMDocument*>(&document)), "It failed!");
}

std::string TextFor(const wchar_t* reason, long line, long column) {
    Error error(reason, line, column);
    return ThrownText<std::runtime_error>([&] { Throw(&error); });
}

TEST(ParseError, HasReasonLineAndColumn) {
    EXPECT_EQ(TextFor(L"A name is missing.\r\n", 12, 345),
              "It failed!: A name is missing.\r\n in line 12 at character 345");
    EXPECT_EQ(TextFor(L"x", 0, 0), "It failed!: x in line 0 at character 0");
    EXPECT_EQ(TextFor(L"x", 2'147'483'647, -1), "It failed!: x in line 2147483647 at character -1");
}

TEST(ParseError, HasAnEmptyReasonWhereThereIsNone) {
    EXPECT_EQ(TextFor(nullptr, 1, 2), "It failed!:  in line 1 at character 2");
    EXPECT_EQ(TextFor(L"", 1, 2), "It failed!:  in line 1 at character 2");
}

TEST(ParseError, HasAQuestionMarkForACharacterWithoutANarrowForm) {
    EXPECT_EQ(TextFor(L"reason \u4e2d", 1, 2), "It failed!: reason ? in line 1 at character 2");
}

TEST(ParseError, IsAFailureOfComWhenThePlatformDoesNotTell) {
    failing::ParseError error;
    EXPECT_EQ(ComFailureOf([&] { Throw(&error); }), E_FAIL);
    EXPECT_EQ(ComFailureOf([] { Throw(nullptr); }), E_POINTER);
}

} // namespace
