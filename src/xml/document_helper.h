// The operations of documents.
#pragma once

#include "xml/node_helper.h"
#include "xml/parse_error.h"
#include "xml/save_by_replacing.h"
#include "xml/stream_text.h"

namespace kq::xml {

template <class Interface>
class DomDocumentHelper : public DomNodeHelper<Interface> {
public:
    using DomNodeHelper<Interface>::DomNodeHelper;

    void LoadText(const std::wstring& text) final {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const HRESULT result = this->Platform()->loadXML(ToPlatform(text), &loaded);
        RequireLoaded(result, loaded, "Failed to load XML string!");
    }

    std::wstring SaveText() const final {
        return ReadSavedText([this](IStream& stream) { return Save(_variant_t(&stream)); });
    }

    void LoadFile(const boost::filesystem::path& path) final {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const HRESULT result = this->Platform()->load(ToVariant(path.native()), &loaded);
        RequireLoaded(result, loaded, "Failed to load XML file!");
    }

    void SaveFile(const boost::filesystem::path& path) const final {
        Require(SaveByReplacing(path,
                                [this](const boost::filesystem::path& file) {
                                    return Save(ToVariant(file.native()));
                                }),
                "Failed to save XML file!");
    }

    bool HasDocumentElement() const final { return this->HasChildNode(anyElement); }

    shared_ref<const DomElement, boost::shared_ptr> GetDocumentElement() const final {
        return dynamic_reference_cast<const DomElement>(this->GetChildNode(anyElement));
    }
    shared_ref<DomElement, boost::shared_ptr> GetDocumentElement() final {
        return dynamic_reference_cast<DomElement>(this->GetChildNode(anyElement));
    }

    shared_ref<DomElement, boost::shared_ptr> CreateElement(
        const std::wstring& name, const std::wstring& namespaceURI) final {
        return WrapElement(CreateNode(NODE_ELEMENT, ToPlatform(name), namespaceURI,
                                      "Failed to create DOM element!"));
    }
    shared_ref<DomElement, boost::shared_ptr> CreateElement(const std::wstring& name) final {
        return CreateElement(name, this->GetNamespaceURI());
    }

    shared_ref<DomTextNode, boost::shared_ptr> CreateTextNode(
        const std::wstring& namespaceURI) final {
        return WrapText(
            CreateNode(NODE_TEXT, nullptr, namespaceURI, "Failed to create DOM text node!"));
    }
    shared_ref<DomTextNode, boost::shared_ptr> CreateTextNode() final {
        return CreateTextNode(this->GetNamespaceURI());
    }

protected:
    ~DomDocumentHelper() = default;

private:
    static constexpr const wchar_t* anyElement = L"/*";

    void RequireLoaded(HRESULT result, VARIANT_BOOL loaded, const char* failure) const {
        if (FAILED(result) || loaded == VARIANT_FALSE)
            ThrowParseError(this->Platform(), failure);
    }

    HRESULT Save(const _variant_t& destination) const {
        return this->Platform()->save(destination);
    }

    /// Never returns null.
    NodePointer CreateNode(int type, const BSTR name, const std::wstring& namespaceURI,
                           const char* failure) {
        NodePointer node;
        Require(this->Platform()->createNode(_variant_t(type), name,
                                             ToPlatform::OrNull(namespaceURI), &node),
                failure);
        if (!node)
            _com_issue_error(E_POINTER);
        return node;
    }
};

} // namespace kq::xml
