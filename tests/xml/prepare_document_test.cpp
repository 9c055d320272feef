#include "xml/prepare_document.h"

#include "support/com_failure.h"
#include "support/thrown.h"
#include "xml/failing_dom.h"

#include <gtest/gtest.h>

#include <string>

using kq::xml::DocumentPointer;
using kq::xml::PrepareDocument;

namespace {

// Takes the first `successes` of the steps, and notes them.
class Steps final : public failing::Document {
public:
    explicit Steps(int successes) : left_(successes) {}

    const std::wstring& Taken() const { return taken_; }

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = static_cast<IXMLDOMDocument2*>(this);
        return S_OK;
    }
    STDMETHODIMP put_async(VARIANT_BOOL value) override { return Step(L"async", value); }
    STDMETHODIMP put_preserveWhiteSpace(VARIANT_BOOL value) override {
        return Step(L"preserveWhiteSpace", value);
    }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL value) override {
        return Step(L"resolveExternals", value);
    }
    STDMETHODIMP setProperty(BSTR name, VARIANT value) override {
        return V_VT(&value) == VT_BOOL ? Step(name, V_BOOL(&value)) : E_INVALIDARG;
    }

private:
    HRESULT Step(const wchar_t* name, VARIANT_BOOL value) {
        if (left_-- == 0)
            return E_FAIL;
        taken_ += name;
        taken_ += value == VARIANT_FALSE ? L"=0 " : L"=1 ";
        return S_OK;
    }

    int left_;
    std::wstring taken_;
};

DocumentPointer Pointer(Steps& steps) {
    return DocumentPointer(static_cast<IXMLDOMDocument*>(&steps));
}

TEST(PrepareDocument, FailsAsComDoesWhenAnOptionIsRefused) {
    for (int successes = 0; successes != 4; ++successes) {
        Steps steps(successes);
        EXPECT_EQ(ComFailureOf([&] { PrepareDocument(Pointer(steps)); }), E_FAIL) << successes;
    }
}

TEST(PrepareDocument, SetsTheOptionsBeforeItAddsTheDeclaration) {
    Steps steps(4);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { PrepareDocument(Pointer(steps)); }),
              "Failed to create encoding information!");
    EXPECT_EQ(steps.Taken(), L"async=0 preserveWhiteSpace=1 resolveExternals=0 ProhibitDTD=1 ");
}

TEST(PrepareDocument, FailsAsComDoesForANullDocument) {
    EXPECT_EQ(ComFailureOf([] { PrepareDocument(DocumentPointer()); }), E_POINTER);
}

} // namespace
