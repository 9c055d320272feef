#include <kq/crypt/credential.h>

#include "crypt/basic_credential.h"

#include <stdexcept>
#include <utility>

namespace kq::crypt {

Credential::Interface::~Interface() = default;

Credential::Credential(std::unique_ptr<Interface> implementation)
    : impl_(std::move(implementation)) {
    if (impl_ == nullptr)
        throw std::invalid_argument("Credential may not be NULL!");
}

Credential::Credential(const Credential& other) : impl_(other.impl_->Clone()) {}

Credential::Credential(Credential&& other) noexcept = default;

Credential& Credential::operator=(const Credential& other) {
    if (this != &other)
        impl_ = other.impl_->Clone();
    return *this;
}

Credential& Credential::operator=(Credential&& other) noexcept = default;

Credential::~Credential() = default;

std::wstring Credential::UserName() const { return impl_->UserName(); }

std::vector<unsigned char> Credential::Secret() const { return impl_->Secret(); }

void Credential::WithSecret(
    const std::function<void(const std::vector<unsigned char>&)>& use) const {
    impl_->WithSecret(use);
}

bool operator==(const Credential& left, const Credential& right) {
    return left.impl_->Equals(*right.impl_);
}

bool operator!=(const Credential& left, const Credential& right) { return !(left == right); }

Credential MkCredential(std::wstring userName, const std::wstring& secretText) {
    static_assert(sizeof(wchar_t) == 2, "a secret text has two bytes a character");
    const auto* const first = reinterpret_cast<const unsigned char*>(secretText.data());
    return MkCredential(
        std::move(userName),
        std::vector<unsigned char>(first, first + secretText.size() * sizeof(wchar_t)));
}

Credential MkCredential(std::wstring userName, std::vector<unsigned char> secret) {
    // Before anything can fail, so that the secret is overwritten then, too.
    SecretBytes bytes(std::move(secret));
    return Credential(std::make_unique<Credential::Impl<BasicCredential>>(
        BasicCredential{std::move(userName), std::move(bytes)}));
}

} // namespace kq::crypt
