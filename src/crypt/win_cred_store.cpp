#include <windows.h>

#include <wincred.h>

#include <kq/crypt/credential_store.h>

#include "crypt/secret_bytes.h"
#include "crypt/wipe.h"

#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kq::crypt {
namespace {

// What the credential manager takes; the constant in the platform's headers differs with their age.
constexpr std::size_t longestSecret = 2560;

void Write(std::wstring& key, std::wstring userName, const std::vector<unsigned char>& secret) {
    if (secret.size() > longestSecret)
        throw std::length_error("Illegal credential length");
    SecretBytes blob(secret);
    CREDENTIALW record{};
    record.Type = CRED_TYPE_GENERIC;
    record.TargetName = key.data();
    record.UserName = userName.data();
    record.CredentialBlobSize = static_cast<DWORD>(secret.size());
    record.CredentialBlob = blob.Data();
    record.Persist = CRED_PERSIST_LOCAL_MACHINE;
    if (CredWriteW(&record, 0) == FALSE)
        throw StoreSaveError();
}

struct ReleaseRecord {
    void operator()(CREDENTIALW* record) const noexcept {
        Wipe(record->CredentialBlob, record->CredentialBlobSize);
        CredFree(record);
    }
};

} // namespace

struct WinCredStore {};

template <>
class Store::Impl<WinCredStore> final : public Store::Interface {
public:
    expected<void, std::exception_ptr> Save(std::wstring key,
                                            Credential credential) noexcept override {
        try {
            credential.WithSecret([&](const std::vector<unsigned char>& secret) {
                Write(key, credential.UserName(), secret);
            });
            return {};
        } catch (...) {
            return unexpected{std::current_exception()};
        }
    }

    std::optional<Credential> Load(const std::wstring& key) const override {
        CREDENTIALW* read = nullptr;
        if (CredReadW(key.c_str(), CRED_TYPE_GENERIC, 0, &read) == FALSE)
            return std::nullopt;
        const std::unique_ptr<CREDENTIALW, ReleaseRecord> record(read);
        std::wstring userName(record->UserName != nullptr ? record->UserName : L"");
        // The secret last, handed on at once: nothing fails while it is in a plain vector.
        return MkCredential(
            std::move(userName),
            std::vector<unsigned char>(record->CredentialBlob,
                                       record->CredentialBlob + record->CredentialBlobSize));
    }

    bool Remove(const std::wstring& key) override {
        CredDeleteW(key.c_str(), CRED_TYPE_GENERIC, 0);
        return true;
    }
};

Store MkDefaultPersistenceCredentialStore() {
    return Store(std::make_unique<Store::Impl<WinCredStore>>());
}

} // namespace kq::crypt
