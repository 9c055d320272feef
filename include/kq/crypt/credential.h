// A user name with a secret.
#pragma once

#include <kq/export.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kq {
namespace crypt {

/// A user name and its secret: a password, a key, any bytes. A value type: a copy has a secret of
/// its own. The secret is overwritten before its memory is released, and nothing here copies it
/// unless the caller asks for a copy.
///
/// A credential that was moved from may only be destroyed and assigned to. One credential may be
/// read on several threads at once; changing it needs the caller's own lock.
class Credential {
public:
    /// What stands behind a credential. The order of the virtual functions is part of the binary
    /// interface.
    class KQ_API Interface {
    public:
        Interface() = default;
        Interface& operator=(const Interface&) = delete;

        /// A new object that equals this one.
        virtual std::unique_ptr<Interface> Clone() const = 0;
        /// A copy of the user name. Throws nothing but `std::bad_alloc`.
        virtual std::wstring UserName() const = 0;
        /// A copy of the secret. Throws nothing but `std::bad_alloc`.
        virtual std::vector<unsigned char> Secret() const = 0;
        /// Calls `use` once with the stored secret itself.
        virtual void WithSecret(
            const std::function<void(const std::vector<unsigned char>&)>& use) const = 0;
        /// Whether `other` is of the same implementation and has the same user name and secret.
        virtual bool Equals(const Interface& other) const = 0;
        virtual ~Interface();

    protected:
        /// For `Clone`.
        Interface(const Interface&) = default;
    };

    /// A credential of a host's own making. Throws
    /// `std::invalid_argument("Credential may not be NULL!")` for a null pointer.
    KQ_API explicit Credential(std::unique_ptr<Interface> implementation);
    /// An independent copy, by `Clone`.
    KQ_API Credential(const Credential& other);
    /// Takes over what `other` holds.
    KQ_API Credential(Credential&& other) noexcept;
    /// As the constructors.
    KQ_API Credential& operator=(const Credential& other);
    /// As the constructors.
    KQ_API Credential& operator=(Credential&& other) noexcept;
    /// Overwrites the secret.
    KQ_API ~Credential();

    /// A copy of the user name.
    KQ_API std::wstring UserName() const;
    /// A copy of the secret, which it is up to the caller to overwrite after use; `WithSecret` does
    /// without.
    KQ_API std::vector<unsigned char> Secret() const;
    /// Calls `use` once, on this thread, with the secret, which is not copied; the reference is
    /// valid during the call. What `use` throws leaves this call; an empty `use` throws
    /// `std::bad_function_call`.
    KQ_API void WithSecret(const std::function<void(const std::vector<unsigned char>&)>& use) const;

    /// Whether the user names have the same characters, upper and lower case told apart, and the
    /// secrets the same bytes. What `MkCredential` made equals nothing that a host implemented.
    friend KQ_API bool operator==(const Credential& left, const Credential& right);
    /// The opposite.
    friend KQ_API bool operator!=(const Credential& left, const Credential& right);

private:
    template <class Content>
    class Impl;
    friend KQ_API Credential MkCredential(std::wstring userName, std::vector<unsigned char> secret);

    std::unique_ptr<Interface> impl_;
};

/// A credential whose secret is the characters of `secretText` as bytes: two a character, the low
/// one first, without a terminator. The text stays the caller's to overwrite.
KQ_API Credential MkCredential(std::wstring userName, const std::wstring& secretText);

/// A credential with the bytes of `secret`, whose memory it takes over: whoever moves a secret in
/// leaves no second copy.
KQ_API Credential MkCredential(std::wstring userName, std::vector<unsigned char> secret);

} // namespace crypt
} // namespace kq
