#include <windows.h>

#include <kq/win32/message.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "messages.h"

using kq::win32::FormatMessageResource;
using kq::win32::FormatSystemMessageResource;
using kq::win32::LanguageId;
using kq::win32::Message;
using kq::win32::MessageArgument;
using kq::win32::MessageArguments;
using kq::win32::MessageId;

namespace {

constexpr char failure[] = "Failed to format message!";
constexpr LanguageId systemOrder = {0};
constexpr LanguageId english = {0x409};
constexpr LanguageId german = {0x407};
constexpr LanguageId frenchWithoutTable = {0x40c};
constexpr MessageId unknown = {0x1fffffff};
constexpr std::size_t longestText = 1023;
constexpr std::size_t mostArguments = 42;

constexpr MessageId Id(DWORD id) { return {id}; }

// A DLL with nothing but a message table in English and German.
class MessagesOfAModule : public testing::Test {
protected:
    HINSTANCE module() const { return module_.get(); }

private:
    struct Free {
        using pointer = HINSTANCE;
        void operator()(HINSTANCE module) const { FreeLibrary(module); }
    };

    std::unique_ptr<HINSTANCE, Free> module_{LoadLibraryW(L"kq_test_messages.dll")};
};

// A thousands separator after each digit and a decimal comma.
template <class Char>
class Grouping : public std::numpunct<Char> {
protected:
    Char do_thousands_sep() const override { return Char('\''); }
    std::string do_grouping() const override { return "\1"; }
    Char do_decimal_point() const override { return Char(','); }
};

class GlobalGrouping {
public:
    GlobalGrouping() {
        const std::locale wide(std::locale::classic(), new Grouping<wchar_t>);
        previous_ = std::locale::global(std::locale(wide, new Grouping<char>));
    }
    ~GlobalGrouping() { std::locale::global(previous_); }
    GlobalGrouping(const GlobalGrouping&) = delete;
    GlobalGrouping& operator=(const GlobalGrouping&) = delete;

private:
    std::locale previous_;
};

std::vector<std::wstring> Rendered(const MessageArgument& argument) {
    return (MessageArguments() << argument).GetFormatted();
}

using Texts = std::vector<std::wstring>;

TEST(MessageArguments, AreNoneAtFirst) {
    const MessageArguments arguments;
    EXPECT_EQ(arguments.GetCount(), 0u);
    EXPECT_EQ(arguments.GetFormatted(), Texts());
}

TEST(MessageArguments, KeepTheOrderInWhichTheyWereAdded) {
    MessageArguments arguments;
    arguments << -5 << 7u << 3.14159f << 2.0;
    EXPECT_EQ(arguments.GetCount(), 4u);
    EXPECT_EQ(arguments.GetFormatted(), (Texts{L"-5", L"7", L"3.1", L"2.0"}));
}

TEST(MessageArguments, CountThreeAfterThreeAdditions) {
    MessageArguments arguments;
    arguments << std::wstring(L"first");
    arguments << std::string("second");
    arguments << 3;
    EXPECT_EQ(arguments.GetCount(), 3u);
    EXPECT_EQ(arguments.GetFormatted(), (Texts{L"first", L"second", L"3"}));
}

TEST(MessageArguments, RenderTheExtremesOfIntegers) {
    EXPECT_EQ(Rendered(std::numeric_limits<int>::min()), Texts{L"-2147483648"});
    EXPECT_EQ(Rendered(std::numeric_limits<int>::max()), Texts{L"2147483647"});
    EXPECT_EQ(Rendered(std::numeric_limits<unsigned int>::max()), Texts{L"4294967295"});
    EXPECT_EQ(Rendered(std::numeric_limits<long long>::min()), Texts{L"-9223372036854775808"});
    EXPECT_EQ(Rendered(std::numeric_limits<long long>::max()), Texts{L"9223372036854775807"});
    EXPECT_EQ(Rendered(std::numeric_limits<unsigned long long>::max()),
              Texts{L"18446744073709551615"});
    EXPECT_EQ(Rendered(0), Texts{L"0"});
}

TEST(MessageArguments, RenderFloatingPointWithOneDigit) {
    EXPECT_EQ(Rendered(2.0f), Texts{L"2.0"});
    EXPECT_EQ(Rendered(-0.25), Texts{L"-0.2"});
    EXPECT_EQ(Rendered(0.96), Texts{L"1.0"});
    EXPECT_EQ(Rendered(1e6), Texts{L"1000000.0"});
    EXPECT_EQ(Rendered(1e22), Texts{L"10000000000000000000000.0"});
    EXPECT_EQ(Rendered(std::numeric_limits<double>::max())[0].size(), 309u + 2u);
    EXPECT_EQ(Rendered(std::numeric_limits<float>::max())[0].size(), 39u + 2u);
}

TEST(MessageArguments, RenderNumbersTheSameUnderEveryLocale) {
    const GlobalGrouping global;
    EXPECT_EQ(Rendered(-1234567), Texts{L"-1234567"});
    EXPECT_EQ(Rendered(1234567u), Texts{L"1234567"});
    EXPECT_EQ(Rendered(-12345678901234LL), Texts{L"-12345678901234"});
    EXPECT_EQ(Rendered(12345678901234ULL), Texts{L"12345678901234"});
    EXPECT_EQ(Rendered(1234567.0f), Texts{L"1234567.0"});
    EXPECT_EQ(Rendered(1234567.5), Texts{L"1234567.5"});
}

TEST(MessageArguments, TakeNarrowTextCharacterByCharacter) {
    EXPECT_EQ(Rendered(std::string("narrow")), Texts{L"narrow"});
    EXPECT_EQ(Rendered(std::string("a\0b", 3)), (Texts{std::wstring(L"a\0b", 3)}));
}

TEST(MessageArguments, TakeWideTextAsItIs) {
    EXPECT_EQ(Rendered(std::wstring(L"\u4e2d %1 %n")), Texts{L"\u4e2d %1 %n"});
    EXPECT_EQ(Rendered(std::wstring()), Texts{L""});
}

TEST(MessageArguments, AreCopiedAsValues) {
    MessageArguments original;
    original << 1;
    MessageArguments copy(original);
    copy << 2;
    EXPECT_EQ(original.GetFormatted(), Texts{L"1"});
    EXPECT_EQ(copy.GetFormatted(), (Texts{L"1", L"2"}));
    original = copy;
    copy << 3;
    EXPECT_EQ(original.GetFormatted(), (Texts{L"1", L"2"}));
    MessageArguments& self = original;
    original = self;
    EXPECT_EQ(original.GetFormatted(), (Texts{L"1", L"2"}));
}

TEST(MessageArguments, StayUsableAfterAMove) {
    MessageArguments source;
    source << 1;
    const MessageArguments target(std::move(source));
    EXPECT_EQ(target.GetFormatted(), Texts{L"1"});
    EXPECT_EQ(source.GetCount(), 1u); // NOLINT: a move is a copy
}

TEST(MessageArguments, MayBeAddedOnTwoThreadsAtOnce) {
    const auto add = [](double number, std::wstring expected, int& wrong) {
        for (int round = 0; round != 5'000; ++round)
            if (Rendered(number) != Texts{expected} ||
                Rendered(static_cast<float>(number)) != Texts{expected})
                ++wrong;
    };
    int wrongHere = 0;
    int wrongThere = 0;
    std::thread other(add, 1234.5, L"1234.5", std::ref(wrongThere));
    add(-0.5, L"-0.5", wrongHere);
    other.join();
    EXPECT_EQ(wrongHere, 0);
    EXPECT_EQ(wrongThere, 0);
}

TEST_F(MessagesOfAModule, AreInsertedWithTheirArguments) {
    const auto arguments = MessageArguments() << std::wstring(L"Ada") << 12;
    EXPECT_EQ(FormatMessageResource(module(), english, Id(MESSAGE_GREETING), arguments),
              L"Good morning, Ada. You have 12 letters.\r\n");
    EXPECT_EQ(Message(module(), Id(MESSAGE_GREETING), arguments).Format(english),
              L"Good morning, Ada. You have 12 letters.\r\n");
}

TEST_F(MessagesOfAModule, ComeInTheLanguageAskedFor) {
    const Message message(module(), Id(MESSAGE_PLAIN));
    EXPECT_EQ(message.Format(english), L"Nothing to insert.\r\n");
    EXPECT_EQ(message.Format(german), L"Nichts einzusetzen.\r\n");
    EXPECT_EQ(message.TryFormat(german).value(), L"Nichts einzusetzen.\r\n");
}

TEST_F(MessagesOfAModule, ComeInTheSystemsOrderWithoutALanguage) {
    const Message message(module(), Id(MESSAGE_PLAIN));
    EXPECT_EQ(message.Format(), message.Format(systemOrder));
    EXPECT_EQ(message.TryFormat().value(), message.TryFormat(systemOrder).value());
    EXPECT_EQ(message.TryFormat().value(), message.Format());
    const std::wstring text = message.Format();
    EXPECT_TRUE(text == message.Format(english) || text == message.Format(german)) << text.c_str();
}

TEST_F(MessagesOfAModule, KeepTheLineBreakThatEndsAnEntry) {
    const std::wstring text = Message(module(), Id(MESSAGE_PLAIN)).Format(english);
    EXPECT_EQ(text.substr(text.size() - 2), L"\r\n");
}

TEST_F(MessagesOfAModule, HaveNoLineBreakThatTheEntryLacks) {
    EXPECT_EQ(Message(module(), Id(MESSAGE_WITHOUT_LINE_BREAK)).Format(english), L"No line break");
}

TEST_F(MessagesOfAModule, TakeInsertsWithAStringFormatInAnyOrder) {
    const auto arguments = MessageArguments() << std::string("one") << 2.0;
    EXPECT_EQ(Message(module(), Id(MESSAGE_EXPLICIT_STRINGS), arguments).Format(english),
              L"2.0 before one");
}

TEST_F(MessagesOfAModule, FailForAnUnknownNumber) {
    const Message message(module(), unknown);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(); }), failure);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(english); }), failure);
    EXPECT_FALSE(message.TryFormat());
    EXPECT_FALSE(message.TryFormat(english));
    EXPECT_EQ(ThrownText<std::runtime_error>(
                  [&] { FormatMessageResource(module(), english, unknown, MessageArguments()); }),
              failure);
}

TEST_F(MessagesOfAModule, FailForAnUnknownLanguage) {
    const Message message(module(), Id(MESSAGE_PLAIN));
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(frenchWithoutTable); }), failure);
    EXPECT_FALSE(message.TryFormat(frenchWithoutTable));
}

TEST_F(MessagesOfAModule, FailWhenTheModuleHasNoTable) {
    const Message message(GetModuleHandleW(L"kq.dll"), Id(MESSAGE_PLAIN));
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(); }), failure);
    EXPECT_FALSE(message.TryFormat());
}

TEST_F(MessagesOfAModule, FailWhenTheEntryIsTooLong) {
    const Message message(module(), Id(MESSAGE_TOO_LONG));
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(english); }), failure);
    EXPECT_FALSE(message.TryFormat(english));
}

TEST_F(MessagesOfAModule, MayHaveAThousandAndTwentyThreeCharacters) {
    const auto echo = [&](std::size_t length) {
        return Message(module(), Id(MESSAGE_ECHO),
                       MessageArguments() << std::wstring(length, L'x'));
    };
    EXPECT_EQ(echo(longestText - 1).Format(), std::wstring(longestText - 1, L'x'));
    EXPECT_EQ(echo(longestText).Format(), std::wstring(longestText, L'x'));
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { echo(longestText + 1).Format(); }), failure);
    EXPECT_FALSE(echo(longestText + 1).TryFormat());
}

TEST_F(MessagesOfAModule, FailWhenTheTextIsEmpty) {
    const Message message(module(), Id(MESSAGE_ECHO), MessageArguments() << std::wstring());
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(); }), failure);
    EXPECT_FALSE(message.TryFormat());
}

TEST_F(MessagesOfAModule, TakeFortyTwoArguments) {
    MessageArguments arguments;
    std::wstring expected;
    for (unsigned i = 1; i <= mostArguments; ++i) {
        arguments << i * 10;
        expected += (i == 1 ? L"" : L" ") + std::to_wstring(i * 10);
    }
    EXPECT_EQ(Message(module(), Id(MESSAGE_ALL_INSERTS), arguments).Format(), expected);
}

TEST_F(MessagesOfAModule, RefuseMoreArguments) {
    MessageArguments arguments;
    for (std::size_t i = 0; i != mostArguments + 1; ++i)
        arguments << 1;
    for (const DWORD id : {MESSAGE_PLAIN, MESSAGE_ECHO, MESSAGE_ALL_INSERTS}) {
        const Message message(module(), Id(id), arguments);
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { message.Format(); }), failure);
        EXPECT_FALSE(message.TryFormat());
    }
    EXPECT_EQ(ThrownText<std::runtime_error>([&] {
                  FormatSystemMessageResource(systemOrder, {ERROR_FILE_NOT_FOUND}, arguments);
              }),
              failure);
}

// The insertion list ends behind the last insert that a message can name, not behind the arguments.
TEST_F(MessagesOfAModule, ReadNothingBehindTheInsertionList) {
    MessageArguments arguments;
    for (std::size_t i = 0; i != mostArguments; ++i)
        arguments << std::wstring(L"argument");
    const auto text = Message(module(), Id(MESSAGE_LAST_INSERTS), arguments).TryFormat();
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find(L"argument"), std::wstring::npos);
    EXPECT_EQ(text->substr(0, 1), L"<");
}

TEST_F(MessagesOfAModule, AreCopiedAsValues) {
    const Message plain(module(), Id(MESSAGE_PLAIN));
    Message copy(plain);
    EXPECT_EQ(copy.Format(english), plain.Format(english));
    copy = Message(module(), Id(MESSAGE_WITHOUT_LINE_BREAK));
    EXPECT_EQ(copy.Format(english), L"No line break");
    EXPECT_EQ(plain.Format(english), L"Nothing to insert.\r\n");
    Message& self = copy;
    copy = self;
    EXPECT_EQ(copy.Format(english), L"No line break");
}

TEST_F(MessagesOfAModule, KeepTheArgumentsThatTheyWereGiven) {
    MessageArguments arguments;
    arguments << std::wstring(L"before");
    const Message message(module(), Id(MESSAGE_ECHO), arguments);
    arguments = MessageArguments() << std::wstring(L"after");
    EXPECT_EQ(message.Format(), L"before");
}

// This program has the same message table; the system's message 1 is another.
TEST(Message, WithANullModuleIsOfTheExecutable) {
    const HINSTANCE executable = nullptr;
    const auto arguments = MessageArguments() << std::wstring(L"Ada") << 12;
    EXPECT_EQ(Message(executable, Id(MESSAGE_GREETING), arguments).Format(english),
              L"Good morning, Ada. You have 12 letters.\r\n");
    EXPECT_EQ(FormatMessageResource(executable, german, Id(MESSAGE_GREETING), arguments),
              L"Guten Morgen, Ada. Sie haben 12 Briefe.\r\n");
    EXPECT_FALSE(Message(executable, unknown).TryFormat());
}

TEST(Message, WithoutAModuleIsOfTheSystem) {
    wchar_t expected[1024] = L"";
    ASSERT_NE(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                             ERROR_FILE_NOT_FOUND, 0, expected, 1024, nullptr),
              0u);
    const MessageId id = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(Message(id).Format(), expected);
    EXPECT_EQ(Message(id).TryFormat().value(), expected);
    EXPECT_EQ(Message(id, MessageArguments() << 1).Format(), expected);
    EXPECT_EQ(FormatSystemMessageResource(systemOrder, id, MessageArguments()), expected);
}

TEST(Message, OfTheSystemTakesArguments) {
    const auto arguments = MessageArguments() << std::wstring(L"kq-test");
    // "The %1 is not a valid Win32 application" or the like, in whatever language.
    const std::wstring text = Message({ERROR_BAD_EXE_FORMAT}, arguments).Format();
    EXPECT_NE(text.find(L"kq-test"), std::wstring::npos) << text.c_str();
}

TEST(Message, OfTheSystemFailsForAnUnknownNumber) {
    EXPECT_EQ(ThrownText<std::runtime_error>([] { Message(unknown).Format(); }), failure);
    EXPECT_FALSE(Message(unknown).TryFormat());
}

} // namespace
