#include "xml/growing_stream.h"

#include <algorithm>

namespace kq::xml {

HRESULT GrowingStream::QueryInterface(REFIID id, void** object) noexcept {
    if (object == nullptr)
        return E_POINTER;
    const bool isKnown = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_ISequentialStream) ||
                         IsEqualIID(id, IID_IStream);
    *object = isKnown ? static_cast<IStream*>(this) : nullptr;
    if (!isKnown)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG GrowingStream::AddRef() noexcept {
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

ULONG GrowingStream::Release() noexcept {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete this;
    return left;
}

HRESULT GrowingStream::Write(const void* bytes, ULONG count, ULONG* written) {
    ULARGE_INTEGER position{};
    const HRESULT isKnown = stream_->Seek({}, STREAM_SEEK_CUR, &position);
    if (FAILED(isKnown))
        return isKnown;
    const unsigned long long end = position.QuadPart + count;
    if (end > room_) {
        ULARGE_INTEGER room{};
        room.QuadPart = std::max(end, 2 * room_);
        const HRESULT hasGrown = stream_->SetSize(room);
        if (FAILED(hasGrown))
            return hasGrown;
        room_ = room.QuadPart;
    }
    ULONG done = 0;
    const HRESULT result = stream_->Write(bytes, count, &done);
    if (written != nullptr)
        *written = done;
    size_ = std::max(size_, position.QuadPart + done);
    return result;
}

HRESULT GrowingStream::Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) {
    if (origin != STREAM_SEEK_END)
        return stream_->Seek(offset, origin, position);
    offset.QuadPart += static_cast<long long>(size_);
    return stream_->Seek(offset, STREAM_SEEK_SET, position);
}

HRESULT GrowingStream::SetSize(ULARGE_INTEGER size) {
    const HRESULT result = stream_->SetSize(size);
    if (SUCCEEDED(result))
        size_ = room_ = size.QuadPart;
    return result;
}

HRESULT GrowingStream::Stat(STATSTG* state, DWORD flags) {
    const HRESULT result = stream_->Stat(state, flags);
    if (SUCCEEDED(result))
        state->cbSize.QuadPart = size_;
    return result;
}

} // namespace kq::xml
