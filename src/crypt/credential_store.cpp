#include <kq/crypt/credential_store.h>

#include <stdexcept>
#include <utility>

namespace kq::crypt {

Store::Interface::~Interface() = default;

Store::Store(std::unique_ptr<Interface> implementation) : impl_(std::move(implementation)) {
    if (impl_ == nullptr)
        throw std::invalid_argument("Store may not be NULL!");
}

Store::Store(Store&& other) noexcept = default;

Store& Store::operator=(Store&& other) noexcept = default;

Store::~Store() = default;

expected<void, std::exception_ptr> Store::Save(std::wstring key, Credential credential) noexcept {
    return impl_->Save(std::move(key), std::move(credential));
}

std::optional<Credential> Store::Load(const std::wstring& key) const { return impl_->Load(key); }

bool Store::Remove(const std::wstring& key) { return impl_->Remove(key); }

} // namespace kq::crypt
