#include "xml/stream_text.h"

#include "support/heap_level.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <string>

using kq::xml::MemoryStreams;
using kq::xml::ReadMemory;
using kq::xml::ReadSavedText;

namespace {

constexpr char memoryFailure[] = "Failed to get stream memory!";

// Writes `bytes`.
auto Writing(const std::string& bytes) {
    return [&bytes](IStream& stream) {
        return stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    };
}

TEST(StreamText, IsWhatWasWrittenAsUtf8) {
    EXPECT_EQ(ReadSavedText(Writing("<a/>")), L"<a/>");
    EXPECT_EQ(ReadSavedText(Writing("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80")),
              L"\u00e4\u20ac\U0001f600");
    for (const std::size_t length : {1u, 7u, 8u, 9u, 4'095u, 4'096u, 4'097u, 1'000'003u})
        EXPECT_EQ(ReadSavedText(Writing(std::string(length, 'x'))), std::wstring(length, L'x'));
}

TEST(StreamText, IsTheSmallerOfStreamAndBlock) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, 100);
    ASSERT_NE(memory, nullptr);
    std::fill_n(static_cast<char*>(GlobalLock(memory)), GlobalSize(memory), 'x');
    GlobalUnlock(memory);
    EXPECT_EQ(ReadMemory(memory, 10), L"xxxxxxxxxx");
    EXPECT_EQ(ReadMemory(memory, 1'000'000), std::wstring(GlobalSize(memory), L'x'));
    // Unlocked again.
    EXPECT_EQ(GlobalFlags(memory) & GMEM_LOCKCOUNT, 0u);
    GlobalFree(memory);
}

TEST(StreamText, OfAnEmptyBlockCannotBeRead) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, 0);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadMemory(memory, 0); }), memoryFailure);
    GlobalFree(memory);
    EXPECT_EQ(ThrownText<std::runtime_error>([] { ReadSavedText([](IStream&) { return S_OK; }); }),
              memoryFailure);
}

struct NoStreams : MemoryStreams {
    static HRESULT Create(IStream**) { return E_OUTOFMEMORY; }
};
struct NoMemory : MemoryStreams {
    static HRESULT GetMemory(IStream*, HGLOBAL*) { return E_INVALIDARG; }
};

TEST(StreamText, SaysWhatFails) {
    const std::string bytes = "<a/>";
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadSavedText<NoStreams>(Writing(bytes)); }),
              "Failed to create stream!");
    EXPECT_EQ(
        ThrownText<std::runtime_error>([] { ReadSavedText([](IStream&) { return E_FAIL; }); }),
        "Failed to save XML stream!");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadSavedText<NoMemory>(Writing(bytes)); }),
              memoryFailure);
}

TEST(StreamText, LeaksNothing) {
    const std::string bytes(1'000, 'x');
    const auto all = [&bytes] {
        ReadSavedText(Writing(bytes));
        ThrownText<std::runtime_error>([] { ReadSavedText([](IStream&) { return S_OK; }); });
        ThrownText<std::runtime_error>([] { ReadSavedText([](IStream&) { return E_FAIL; }); });
        ThrownText<std::runtime_error>([&] { ReadSavedText<NoMemory>(Writing(bytes)); });
    };
    all();
    const auto before = HeapLevel();
    for (int round = 0; round != 1'000; ++round)
        all();
    EXPECT_LT(HeapLevel(), before + 100);
}

} // namespace
