// Where credentials are kept.
#pragma once

#include <kq/crypt/credential.h>
#include <kq/expected.h>
#include <kq/export.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace kq {
namespace crypt {

/// The credential manager refused to keep a credential. `what()` is "Error saving to store".
class StoreSaveError : public std::exception {
public:
    /// The text.
    const char* what() const noexcept override { return "Error saving to store"; }
};

/// Keeps credentials by key. Can be moved, but not copied; a store that was moved from may only be
/// destroyed and assigned to. Saving, loading and removing may be done on any threads at once.
///
///     kq::crypt::Store store = kq::crypt::MkDefaultPersistenceCredentialStore();
///     store.Save(L"example.org", kq::crypt::MkCredential(name, password)).value();
///     if (const auto credential = store.Load(L"example.org"))
///         LogIn(*credential);
class Store {
public:
    /// What stands behind a store. The order of the virtual functions is part of the binary
    /// interface.
    class KQ_API Interface {
    public:
        Interface() = default;
        Interface(const Interface&) = delete;
        Interface& operator=(const Interface&) = delete;

        /// Keeps `credential` under `key`; returns what went wrong.
        virtual expected<void, std::exception_ptr> Save(std::wstring key,
                                                        Credential credential) noexcept = 0;
        /// The credential under `key`, or nothing.
        virtual std::optional<Credential> Load(const std::wstring& key) const = 0;
        /// Makes sure that nothing is kept under `key`; returns true.
        virtual bool Remove(const std::wstring& key) = 0;
        virtual ~Interface();
    };

    /// A store of a host's own making. Throws `std::invalid_argument("Store may not be NULL!")` for
    /// a null pointer.
    KQ_API explicit Store(std::unique_ptr<Interface> implementation);
    /// Takes over what `other` holds.
    KQ_API Store(Store&& other) noexcept;
    /// As above; what this store held in memory is destroyed.
    KQ_API Store& operator=(Store&& other) noexcept;
    KQ_API ~Store();

    /// Keeps `credential` under `key`, and returns success or the exception that says why not;
    /// throws nothing itself. See the stores for what they do with a key that is taken, and for
    /// what can fail. Any store may report `std::bad_alloc`.
    KQ_API expected<void, std::exception_ptr> Save(std::wstring key,
                                                   Credential credential) noexcept;
    /// The credential under `key`; nothing when there is none, or it cannot be read.
    KQ_API std::optional<Credential> Load(const std::wstring& key) const;
    /// Removes what is kept under `key`. Always true, also when there was nothing.
    KQ_API bool Remove(const std::wstring& key);

private:
    template <class Content>
    class Impl;
    friend KQ_API Store MkMemoryCredentialStore();
    friend KQ_API Store MkDefaultPersistenceCredentialStore();

    std::unique_ptr<Interface> impl_;
};

/// A new, empty store in the memory of this process; each is independent of all others. It keeps
/// the first credential of a key: saving under a key that is taken is a success and changes
/// nothing. A `Credential` of a host's own making is cloned under the store's lock, so its `Clone`
/// must not call this store. A store whose destructor runs while the process ends, as that of a
/// DLL's object with static storage does, leaves its credentials to the system.
KQ_API Store MkMemoryCredentialStore();

/// The store of the system's credential manager, which keeps credentials for the current user on
/// this computer beyond the end of the process (`CredWriteW` with `CRED_TYPE_GENERIC` and
/// `CRED_PERSIST_LOCAL_MACHINE`); the key is the name of the target there. All stores made here see
/// the same credentials, as does every other program of the user. Saving under a key that is taken
/// replaces the credential.
///
/// The system takes keys and user names up to their first zero, and compares keys without regard to
/// case.
///
/// `Save` fails with `std::length_error("Illegal credential length")` for a secret of more than
/// 2,560 bytes, and with `StoreSaveError` for whatever the credential manager refuses, such as a
/// key that is too long.
KQ_API Store MkDefaultPersistenceCredentialStore();

} // namespace crypt
} // namespace kq
