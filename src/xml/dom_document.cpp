#include <kq/xml/dom.h>

#include "xml/prepare_document.h"

namespace kq::xml {

shared_ref<DomDocument, boost::shared_ptr> DomDocument::Create() {
    return PrepareDocument(DocumentPointer(domDocument60));
}

shared_ref<DomDocument, boost::shared_ptr> DomDocument::CreateFromFile(
    const boost::filesystem::path& path) {
    const auto document = Create();
    document->LoadFile(path);
    return document;
}

shared_ref<DomDocument, boost::shared_ptr> DomDocument::CreateFromText(const std::wstring& text) {
    const auto document = Create();
    document->LoadText(text);
    return document;
}

} // namespace kq::xml
