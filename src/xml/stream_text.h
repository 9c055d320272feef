// What is saved to a stream, as text.
#pragma once

#include "converter/utf16_text.h"
#include "xml/growing_stream.h"
#include "xml/platform.h"
#include "xml/require.h"

#include <algorithm>
#include <string>

namespace kq::xml {

/// The text in the memory of a stream, which is UTF-8, at most `size` bytes of it: the block may be
/// larger than the stream. Throws `std::runtime_error("Failed to get stream memory!")`, also when
/// the block is empty and so cannot be locked.
inline std::wstring ReadMemory(HGLOBAL memory, unsigned long long size) {
    const void* const bytes = GlobalLock(memory);
    if (bytes == nullptr)
        throw std::runtime_error("Failed to get stream memory!");
    struct Unlock {
        ~Unlock() { GlobalUnlock(memory); }
        HGLOBAL memory;
    } const unlock{memory};
    const auto length = std::min<unsigned long long>(size, GlobalSize(memory));
    return converter::Utf16Text(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

/// The platform's functions for streams in memory.
struct MemoryStreams {
    static HRESULT Create(IStream** stream) { return CreateStreamOnHGlobal(nullptr, TRUE, stream); }
    static HRESULT GetMemory(IStream* stream, HGLOBAL* memory) {
        return GetHGlobalFromStream(stream, memory);
    }
};

/// The text that `save` writes to the stream that it is given, as UTF-8: `HRESULT save(IStream&)`.
/// Throws `std::runtime_error` with the texts "Failed to create stream!", "Failed to save XML
/// stream!" and "Failed to get stream memory!".
template <class Streams = MemoryStreams, class Save>
std::wstring ReadSavedText(Save save) {
    constexpr const char* memoryFailure = "Failed to get stream memory!";
    StreamPointer stream;
    Require(Streams::Create(&stream), "Failed to create stream!");
    StreamPointer growing;
    auto* const text = GrowingStream::Create(stream);
    growing.Attach(text);
    Require(save(*growing), "Failed to save XML stream!");
    HGLOBAL memory = nullptr;
    Require(Streams::GetMemory(stream, &memory), memoryFailure);
    return ReadMemory(memory, text->Size());
}

} // namespace kq::xml
