// A stream that makes room ahead, over the platform's stream in memory.
#include "xml/growing_stream.h"

#include <gtest/gtest.h>

#include <string>

using kq::xml::GrowingStream;
using kq::xml::StreamPointer;

namespace {

class GrowingStreamTest : public testing::Test {
protected:
    GrowingStreamTest() {
        StreamPointer memory;
        EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &memory), S_OK);
        memory_ = memory;
        stream_ = GrowingStream::Create(memory_);
        pointer_.Attach(stream_);
    }

    HRESULT Write(const std::string& text) {
        return stream_->Write(text.data(), static_cast<ULONG>(text.size()), nullptr);
    }

    /// What the other stream has, up to the size that this one tells.
    std::string Text() {
        HGLOBAL memory = nullptr;
        EXPECT_EQ(GetHGlobalFromStream(memory_, &memory), S_OK);
        const auto* const bytes = static_cast<const char*>(GlobalLock(memory));
        std::string text(bytes, static_cast<std::size_t>(stream_->Size()));
        GlobalUnlock(memory);
        return text;
    }

    unsigned long long Room() {
        STATSTG state{};
        EXPECT_EQ(memory_->Stat(&state, STATFLAG_NONAME), S_OK);
        return state.cbSize.QuadPart;
    }

    unsigned long long SeekTo(long long offset, DWORD origin) {
        LARGE_INTEGER to{};
        to.QuadPart = offset;
        ULARGE_INTEGER position{};
        EXPECT_EQ(stream_->Seek(to, origin, &position), S_OK);
        return position.QuadPart;
    }

    StreamPointer memory_;
    GrowingStream* stream_ = nullptr;

private:
    StreamPointer pointer_;
};

TEST_F(GrowingStreamTest, HasWhatWasWrittenInManyPieces) {
    std::string expected;
    for (int piece = 0; piece != 5'000; ++piece) {
        const std::string text = std::to_string(piece);
        ASSERT_EQ(Write(text), S_OK);
        expected += text;
    }
    EXPECT_EQ(stream_->Size(), expected.size());
    EXPECT_TRUE(Text() == expected);
}

TEST_F(GrowingStreamTest, GrowsByDoubling) {
    unsigned long long room = 0;
    int changes = 0;
    for (int piece = 0; piece != 10'000; ++piece) {
        ASSERT_EQ(Write("0123456789"), S_OK);
        if (Room() != room) {
            room = Room();
            ++changes;
        }
    }
    EXPECT_EQ(stream_->Size(), 100'000u);
    EXPECT_LE(changes, 16);
    EXPECT_LE(room, 200'000u);
}

TEST_F(GrowingStreamTest, TellsHowMuchItWrote) {
    ULONG written = 0;
    EXPECT_EQ(stream_->Write("abc", 3, &written), S_OK);
    EXPECT_EQ(written, 3u);
}

TEST_F(GrowingStreamTest, IsWrittenToWhereItWasSought) {
    Write("abcdef");
    EXPECT_EQ(SeekTo(1, STREAM_SEEK_SET), 1u);
    Write("B");
    EXPECT_EQ(SeekTo(1, STREAM_SEEK_CUR), 3u);
    Write("D");
    EXPECT_EQ(Text(), "aBcDef");
    // The end is that of what was written, not that of the room.
    EXPECT_EQ(SeekTo(0, STREAM_SEEK_END), 6u);
    Write("g");
    EXPECT_EQ(Text(), "aBcDefg");
}

TEST_F(GrowingStreamTest, CanBeCutShort) {
    Write("abcdef");
    EXPECT_EQ(stream_->SetSize({}), S_OK);
    EXPECT_EQ(stream_->Size(), 0u);
    SeekTo(0, STREAM_SEEK_SET);
    Write("xy");
    EXPECT_EQ(Text(), "xy");
}

TEST_F(GrowingStreamTest, TellsItsOwnSize) {
    Write("abc");
    Write("d");
    STATSTG state{};
    EXPECT_EQ(stream_->Stat(&state, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(state.cbSize.QuadPart, 4u);
    EXPECT_GT(Room(), 4u);
}

TEST_F(GrowingStreamTest, IsAStreamAndNothingElse) {
    for (const IID& id : {IID_IUnknown, IID_ISequentialStream, IID_IStream}) {
        IUnknown* same = nullptr;
        ASSERT_EQ(stream_->QueryInterface(id, reinterpret_cast<void**>(&same)), S_OK);
        EXPECT_EQ(same, static_cast<IUnknown*>(stream_));
        same->Release();
    }
    void* other = this;
    EXPECT_EQ(stream_->QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(stream_->QueryInterface(IID_IStream, nullptr), E_POINTER);
}

TEST_F(GrowingStreamTest, LivesAsLongAsAReferenceAndNoLonger) {
    // The other stream's count tells when this one lets go of it.
    auto* const another = GrowingStream::Create(memory_);
    memory_->AddRef();
    const ULONG with = memory_->Release();
    EXPECT_EQ(another->AddRef(), 2u);
    EXPECT_EQ(another->Release(), 1u);
    memory_->AddRef();
    EXPECT_EQ(memory_->Release(), with);
    EXPECT_EQ(another->Release(), 0u);
    memory_->AddRef();
    EXPECT_EQ(memory_->Release(), with - 1);
}

} // namespace
