#include <kq/debug/call_stack.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <ios>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

using kq::debug::CallStackEntry;

namespace {

CallStackEntry Resolved() {
    CallStackEntry entry(0x14000'2531);
    entry.symbolName = "Host::Open";
    entry.moduleName = L"C:\\Programs\\host.exe";
    entry.fileName = "C:\\src\\host.cpp";
    entry.lineNumber = 42;
    entry.lineDisplacement = 0x1f;
    return entry;
}

template <class Value>
std::wstring Text(const Value& value) {
    std::wostringstream stream;
    stream << value;
    return stream.str();
}

/// Takes a number of characters and then throws.
class FullBuffer : public std::wstreambuf {
public:
    explicit FullBuffer(int room) : room_(room) {}

protected:
    int_type overflow(int_type /*character*/) override {
        if (room_-- == 0)
            throw std::runtime_error("full");
        return 0;
    }

private:
    int room_;
};

TEST(CallStackEntryRecord, KnowsOnlyTheAddressAtFirst) {
    const CallStackEntry entry(4711);
    EXPECT_EQ(entry.address, 4711u);
    EXPECT_TRUE(entry.symbolName.empty());
    EXPECT_TRUE(entry.moduleName.empty());
    EXPECT_TRUE(entry.fileName.empty());
    EXPECT_EQ(entry.lineNumber, 0u);
    EXPECT_EQ(entry.lineDisplacement, 0u);
    static_assert(!std::is_default_constructible_v<CallStackEntry>);
    static_assert(std::is_copy_assignable_v<CallStackEntry>);
    static_assert(std::is_nothrow_move_constructible_v<CallStackEntry>);
    static_assert(std::is_nothrow_move_assignable_v<CallStackEntry>);
}

TEST(CallStackText, OfAResolvedFrame) {
    EXPECT_EQ(Text(Resolved()), L"\"host.exe\": Host::Open (C:\\src\\host.cpp, line 42 + 0x1f)");
}

TEST(CallStackText, WithoutALineShowsTheAddress) {
    CallStackEntry entry = Resolved();
    entry.fileName.clear();
    EXPECT_EQ(Text(entry), L"\"host.exe\": Host::Open (offset 0x140002531)");
}

TEST(CallStackText, WithoutASymbolShowsThatItIsNotAvailable) {
    CallStackEntry entry = Resolved();
    entry.symbolName.clear();
    EXPECT_EQ(Text(entry), L"\"host.exe\": n/a (C:\\src\\host.cpp, line 42 + 0x1f)");
}

TEST(CallStackText, WithoutAModuleBeginsWithTheName) {
    CallStackEntry entry = Resolved();
    entry.moduleName.clear();
    EXPECT_EQ(Text(entry), L"Host::Open (C:\\src\\host.cpp, line 42 + 0x1f)");
}

TEST(CallStackText, OfAnAddressOnly) {
    EXPECT_EQ(Text(CallStackEntry(0xABC)), L"n/a (offset 0xabc)");
    EXPECT_EQ(Text(CallStackEntry(std::numeric_limits<std::uint64_t>::max())),
              L"n/a (offset 0xffffffffffffffff)");
}

TEST(CallStackText, HasAnAmpersandBeforeAmpersandsAndQuotesOfTheModule) {
    CallStackEntry entry(1);
    entry.moduleName = L"C:\\a & b\\this & that.dll";
    EXPECT_EQ(Text(entry), L"\"this && that.dll\": n/a (offset 0x1)");
    entry.moduleName = L"a\"b.dll";
    EXPECT_EQ(Text(entry), L"\"a&\"b.dll\": n/a (offset 0x1)");
}

TEST(CallStackText, KeepsTheModuleNameInAnyLanguage) {
    CallStackEntry entry(1);
    entry.moduleName = L"C:\\\u6f22\\\u5b57.dll";
    EXPECT_EQ(Text(entry), L"\"\u5b57.dll\": n/a (offset 0x1)");
}

TEST(CallStackText, HasTheLineInTheBaseOfTheStreamAndTheRestInHexadecimal) {
    std::wostringstream stream;
    stream << std::hex << std::uppercase << Resolved();
    EXPECT_EQ(stream.str(), L"\"host.exe\": Host::Open (C:\\src\\host.cpp, line 2A + 0x1F)");
}

TEST(CallStackText, HasOnePrefixOfTheBaseAlsoWhenTheStreamShowsBases) {
    std::wostringstream stream;
    stream << std::showbase << CallStackEntry(0xABC);
    EXPECT_EQ(stream.str(), L"n/a (offset 0xabc)");
}

TEST(CallStackText, LeavesTheFormattingOfTheStreamAsItWas) {
    std::wostringstream stream;
    stream.width(7);
    stream.precision(3);
    stream.fill(L'*');
    stream << std::oct << std::showbase << std::left;
    const std::ios_base::fmtflags flags = stream.flags();
    stream << Resolved() << CallStackEntry(1);
    EXPECT_EQ(stream.flags(), flags);
    EXPECT_EQ(stream.width(), 7);
    EXPECT_EQ(stream.precision(), 3);
    EXPECT_EQ(stream.fill(), L'*');
    stream.str(L"");
    stream << std::setw(0) << 8;
    EXPECT_EQ(stream.str(), L"010");
}

TEST(CallStackText, LeavesADecimalStreamDecimal) {
    std::wostringstream stream;
    stream << CallStackEntry(0xABC) << L' ' << 42;
    EXPECT_EQ(stream.str(), L"n/a (offset 0xabc) 42");
}

TEST(CallStackText, IsNotPaddedToTheWidth) {
    std::wostringstream stream;
    stream << std::setw(40) << CallStackEntry(1);
    EXPECT_EQ(stream.str(), L"n/a (offset 0x1)");
}

TEST(CallStackText, ThatFailsLeavesTheFormattingAsItWasAndTheErrorInTheStream) {
    // Wherever the writing breaks off.
    const int length = static_cast<int>(Text(Resolved()).size());
    for (int room = 0; room <= length; ++room) {
        FullBuffer buffer(room);
        std::wostream stream(&buffer);
        const std::ios_base::fmtflags flags = stream.flags();
        stream.width(3);
        stream << Resolved();
        EXPECT_EQ(stream.bad(), room < length) << room;
        EXPECT_EQ(stream.flags(), flags) << room;
        EXPECT_EQ(stream.width(), 3) << room;
    }
}

TEST(CallStackText, ThatThrowsLeavesTheFormattingAsItWasAndTheErrorInTheStream) {
    const int length = static_cast<int>(Text(Resolved()).size());
    for (int room = 0; room != length; ++room) {
        FullBuffer buffer(room);
        std::wostream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        const std::ios_base::fmtflags flags = stream.flags();
        EXPECT_THROW(stream << Resolved(), std::runtime_error) << room;
        EXPECT_TRUE(stream.bad()) << room;
        EXPECT_EQ(stream.flags(), flags) << room;
    }
}

TEST(CallStackText, OfAnEmptyStackIsEmpty) { EXPECT_EQ(Text(std::vector<CallStackEntry>()), L""); }

TEST(CallStackText, OfOneFrameHasNoNewLine) {
    EXPECT_EQ(Text(std::vector<CallStackEntry>{CallStackEntry(1)}), L"n/a (offset 0x1)");
}

TEST(CallStackText, OfAStackHasNewLinesBetweenTheFrames) {
    EXPECT_EQ(Text(std::vector<CallStackEntry>{CallStackEntry(1), Resolved(), CallStackEntry(3)}),
              L"n/a (offset 0x1)\n"
              L"\"host.exe\": Host::Open (C:\\src\\host.cpp, line 42 + 0x1f)\n"
              L"n/a (offset 0x3)");
}

TEST(CallStackText, FlushesTheStreamBetweenTheFrames) {
    struct CountingBuffer : std::wstringbuf {
        int flushes = 0;
        int sync() override {
            ++flushes;
            return 0;
        }
    } buffer;
    std::wostream stream(&buffer);
    stream << std::vector<CallStackEntry>(4, CallStackEntry(1));
    EXPECT_EQ(buffer.flushes, 3);
}

} // namespace
