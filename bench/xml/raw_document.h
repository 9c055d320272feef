// A document through nothing but the platform's interfaces, as somebody writes it who counts every
// call: results are checked, texts are taken where they stand.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <msxml2.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace bench {

class RawDocument {
public:
    RawDocument() {
        constexpr CLSID domDocument60 = {
            0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
        Check(CoCreateInstance(domDocument60, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                               reinterpret_cast<void**>(&document_)));
        Check(document_->put_async(VARIANT_FALSE));
        Check(document_->put_preserveWhiteSpace(VARIANT_TRUE));
    }
    ~RawDocument() { document_->Release(); }
    RawDocument(const RawDocument&) = delete;
    RawDocument& operator=(const RawDocument&) = delete;

    void LoadFile(const std::wstring& file) {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        Check(document_->load(_variant_t(file.c_str()), &loaded));
        if (loaded == VARIANT_FALSE)
            throw std::runtime_error("the platform does not load the document");
    }
    void LoadText(const BSTR text) {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        Check(document_->loadXML(text, &loaded));
        if (loaded == VARIANT_FALSE)
            throw std::runtime_error("the platform does not load the document");
    }
    void SaveFile(const std::wstring& file) { Check(document_->save(_variant_t(file.c_str()))); }

    /// The size of the saved document, as UTF-16. The stream has room for so many bytes, and grows
    /// when that is not enough.
    std::size_t SaveText(std::size_t room) {
        IStream* stream = nullptr;
        Check(CreateStreamOnHGlobal(GlobalAlloc(GMEM_MOVEABLE, room), TRUE, &stream));
        Check(document_->save(_variant_t(static_cast<IUnknown*>(stream))));
        ULARGE_INTEGER end{};
        Check(stream->Seek({}, STREAM_SEEK_CUR, &end));
        HGLOBAL memory = nullptr;
        Check(GetHGlobalFromStream(stream, &memory));
        const auto* const bytes = static_cast<const char*>(GlobalLock(memory));
        const int size = static_cast<int>(end.QuadPart);
        std::wstring text(
            static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, bytes, size, nullptr, 0)),
            L'\0');
        MultiByteToWideChar(CP_UTF8, 0, bytes, size, text.data(), static_cast<int>(text.size()));
        GlobalUnlock(memory);
        stream->Release();
        return text.size();
    }

    IXMLDOMDocument* operator->() const noexcept { return document_; }

    static void Check(HRESULT result) {
        if (FAILED(result))
            throw std::runtime_error("the platform fails");
    }

private:
    IXMLDOMDocument* document_ = nullptr;
};

} // namespace bench
