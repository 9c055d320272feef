#include <kq/debug/location.h>

#include <gtest/gtest.h>

#include <ios>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

using kq::debug::Location;

namespace {

Location Example() {
    return {"void Host::Open(int)",     L"C:\\src\\\u6f22.cpp", 42,
            "Sat Nov 21 06:05:12 2026", "Nov 22 2026",          "07:08:09"};
}

template <class T>
Location InTemplate(T /*unused*/) {
    return KQ_LOCATION;
}

TEST(LocationRecord, AnswersWhatItWasGiven) {
    const Location location = Example();
    EXPECT_EQ(location.GetSignature(), L"void Host::Open(int)");
    EXPECT_EQ(location.GetFilename(), L"C:\\src\\\u6f22.cpp");
    EXPECT_EQ(location.GetLine(), 42u);
    EXPECT_EQ(location.GetTimestamp(), L"Sat Nov 21 06:05:12 2026");
    EXPECT_EQ(location.GetCompilationDate(), L"Nov 22 2026");
    EXPECT_EQ(location.GetCompilationTime(), L"07:08:09");
}

TEST(LocationRecord, IsEqualWhenEverythingIs) {
    EXPECT_TRUE(Example() == Example());
    EXPECT_FALSE(Example() != Example());
}

TEST(LocationRecord, DiffersWhenAnySingleThingDoes) {
    const Location plain("a", L"b", 1, "c", "d", "e");
    const Location others[] = {
        {"A", L"b", 1, "c", "d", "e"}, {"a", L"B", 1, "c", "d", "e"}, {"a", L"b", 2, "c", "d", "e"},
        {"a", L"b", 1, "C", "d", "e"}, {"a", L"b", 1, "c", "D", "e"}, {"a", L"b", 1, "c", "d", "E"},
    };
    for (const Location& other : others) {
        EXPECT_FALSE(plain == other);
        EXPECT_TRUE(plain != other);
        EXPECT_FALSE(other == plain);
    }
}

TEST(LocationRecord, SwapsEverything) {
    Location left("a", L"b", 1, "c", "d", "e");
    Location right("A", L"B", 2, "C", "D", "E");
    left.Swap(right);
    EXPECT_TRUE(left == Location("A", L"B", 2, "C", "D", "E"));
    EXPECT_TRUE(right == Location("a", L"b", 1, "c", "d", "e"));
    left.Swap(left);
    EXPECT_TRUE(left == Location("A", L"B", 2, "C", "D", "E"));
}

TEST(LocationRecord, IsCopiedAndMovedWhole) {
    Location location = Example();
    Location other("a", L"b", 1, "c", "d", "e");
    other = location;
    EXPECT_TRUE(other == Example());
    const Location moved = std::move(other);
    EXPECT_TRUE(moved == Example());
    static_assert(std::is_nothrow_move_constructible_v<Location>);
    static_assert(std::is_nothrow_move_assignable_v<Location>);
}

TEST(LocationText, HasEverythingOnOneLine) {
    std::wostringstream stream;
    stream << Example();
    EXPECT_EQ(stream.str(),
              L"void Host::Open(int) (C:\\src\\\u6f22.cpp, line 42, modified at "
              L"Sat Nov 21 06:05:12 2026, compiled at Nov 22 2026, 07:08:09)");
}

TEST(LocationText, BeginsWithTheParenthesisWithoutASignature) {
    std::wostringstream stream;
    stream << Location("", L"f", 0, "t", "d", "c");
    EXPECT_EQ(stream.str(), L" (f, line 0, modified at t, compiled at d, c)");
}

TEST(LocationText, HasADecimalLineOnAHexadecimalStreamAndLeavesItHexadecimal) {
    std::wostringstream stream;
    stream << std::hex << std::showbase;
    const std::ios_base::fmtflags flags = stream.flags();
    stream << Location("s", L"f", 4'294'967'295u, "t", "d", "c");
    EXPECT_EQ(stream.str(), L"s (f, line 4294967295, modified at t, compiled at d, c)");
    EXPECT_EQ(stream.flags(), flags);
}

TEST(CurrentLocation, IsWhereTheMacroStands) {
    const Location location = KQ_LOCATION;
    EXPECT_EQ(location.GetLine(), static_cast<unsigned int>(__LINE__) - 1);
    EXPECT_NE(location.GetFilename().find(L"location_test.cpp"), std::wstring::npos);
    EXPECT_NE(location.GetSignature().find(L"TestBody()"), std::wstring::npos);
}

TEST(CurrentLocation, HasTheTimesOfTheCompiler) {
    const Location location = KQ_LOCATION;
    EXPECT_EQ(location.GetTimestamp().size(), std::string("Sat Nov 21 06:05:12 2026").size());
    EXPECT_EQ(location.GetCompilationDate().size(), std::string("Nov 21 2026").size());
    EXPECT_EQ(location.GetCompilationTime().size(), std::string("06:05:12").size());
    EXPECT_EQ(location.GetCompilationTime()[2], L':');
}

TEST(CurrentLocation, HasTheWholeSignature) {
    EXPECT_NE(InTemplate(1).GetSignature().find(L"InTemplate("), std::wstring::npos);
    EXPECT_NE(InTemplate(1).GetSignature(), InTemplate('a').GetSignature());
}

} // namespace
