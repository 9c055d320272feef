// A stream in memory that is written to in many small pieces.
#pragma once

#include "xml/platform.h"

#include <atomic>

namespace kq::xml {

/// Writes to another stream, for which it makes room ahead: whenever a write goes beyond the
/// other's size it doubles that. The platform's streams in memory grow by just what is written and
/// move all of their memory each time, which takes most of the time of a large save.
///
/// The other stream has to be empty at first, and is used by nobody else meanwhile. What is written
/// cannot be read through this one: everything to do with that is not implemented (E_NOTIMPL).
class GrowingStream final : public IStream {
public:
    /// Throws `std::bad_alloc`. The first reference is the caller's.
    static GrowingStream* Create(IStream* stream) { return new GrowingStream(stream); }

    GrowingStream(const GrowingStream&) = delete;
    GrowingStream& operator=(const GrowingStream&) = delete;

    /// Up to where it was written to. The other stream may be larger.
    unsigned long long Size() const noexcept { return size_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;

    HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* written) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER offset, DWORD origin,
                                   ULARGE_INTEGER* position) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override { return stream_->Commit(flags); }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* state, DWORD flags) override;

    HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                     ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

private:
    explicit GrowingStream(IStream* stream) : stream_(stream) {}
    ~GrowingStream() = default; // when the last reference goes

    const StreamPointer stream_;
    unsigned long long size_ = 0;
    unsigned long long room_ = 0;
    std::atomic<ULONG> references_{1};
};

} // namespace kq::xml
