#include "xml/prepare_document.h"

#include "xml/require.h"
#include "xml/text.h"
#include "xml/wrap.h"

namespace kq::xml {
namespace {

/// These are the defaults of MSXML 6.0, but too much depends on them to rely on that: document
/// types can make a small document huge, and name files and addresses to read.
void DistrustContent(const DocumentPointer& document) {
    _com_util::CheckError(document->put_resolveExternals(VARIANT_FALSE));
    const Document2Pointer document2 = document;
    _com_util::CheckError(document2->setProperty(ToPlatform(L"ProhibitDTD"), _variant_t(true)));
}

void AddDeclaration(const DocumentPointer& document, DomDocument& wrapped) {
    InstructionPointer declaration;
    Require(
        document->createProcessingInstruction(
            ToPlatform(L"xml"), ToPlatform(L"version=\"1.0\" encoding=\"utf-8\""), &declaration),
        "Failed to create encoding information!");
    wrapped.AddChildNode(Wrap(NodePointer(declaration)));
}

} // namespace

shared_ref<DomDocument, boost::shared_ptr> PrepareDocument(const DocumentPointer& document) {
    _com_util::CheckError(document->put_async(VARIANT_FALSE));
    _com_util::CheckError(document->put_preserveWhiteSpace(VARIANT_TRUE));
    DistrustContent(document);
    const auto result = WrapDocument(DocumentPointer(document));
    AddDeclaration(document, *result);
    return result;
}

} // namespace kq::xml
