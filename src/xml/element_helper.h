// The operations of elements.
#pragma once

#include "xml/node_helper.h"

namespace kq::xml {

template <class Interface>
class DomElementHelper : public DomNodeHelper<Interface> {
public:
    using DomNodeHelper<Interface>::DomNodeHelper;

    bool HasAttribute(const std::wstring& name) const final {
        _variant_t value;
        return ReadAttribute(name, value);
    }

    std::wstring GetAttribute(const std::wstring& name) const final {
        _variant_t value;
        if (!ReadAttribute(name, value))
            throw std::logic_error("Attribute not available!");
        if (V_VT(&value) != VT_BSTR)
            throw std::runtime_error("Attribute is not a string!");
        return FromPlatform(V_BSTR(&value));
    }

    void SetAttribute(const std::wstring& name, const std::wstring& value) final {
        Require(PlatformElement()->setAttribute(ToPlatform(name), ToVariant(value)),
                "Failed to set attribute!");
    }

protected:
    ~DomElementHelper() = default;

private:
    ElementPointer PlatformElement() const { return ElementPointer(this->Platform()); }

    /// Returns whether there is such an attribute.
    bool ReadAttribute(const std::wstring& name, _variant_t& value) const {
        const HRESULT result = PlatformElement()->getAttribute(ToPlatform(name), &value);
        Require(result, "Failed to get attribute!");
        return result == S_OK;
    }
};

} // namespace kq::xml
