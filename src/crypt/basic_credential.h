// The credential that the library makes.
#pragma once

#include <kq/crypt/credential.h>

#include "crypt/secret_bytes.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kq::crypt {

/// A user name and a secret, kept as they were given.
struct BasicCredential {
    std::wstring userName;
    SecretBytes secret;
};

template <>
class Credential::Impl<BasicCredential> final : public Credential::Interface {
public:
    explicit Impl(BasicCredential content) noexcept : content_(std::move(content)) {}

    std::unique_ptr<Interface> Clone() const override { return std::make_unique<Impl>(*this); }
    std::wstring UserName() const override { return content_.userName; }
    std::vector<unsigned char> Secret() const override { return content_.secret.Get(); }
    void WithSecret(
        const std::function<void(const std::vector<unsigned char>&)>& use) const override {
        use(content_.secret.Get());
    }
    bool Equals(const Interface& other) const override {
        const auto* const same = dynamic_cast<const Impl*>(&other);
        return same != nullptr && content_.userName == same->content_.userName &&
               content_.secret.Get() == same->content_.secret.Get();
    }

private:
    const BasicCredential content_;
};

} // namespace kq::crypt
