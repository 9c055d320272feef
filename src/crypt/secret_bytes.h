// Bytes that leave no trace.
#pragma once

#include "crypt/wipe.h"

#include <utility>
#include <vector>

namespace kq::crypt {

/// Owns the bytes of a secret and overwrites them before their memory is released. A move hands the
/// memory on.
class SecretBytes {
public:
    /// Takes the memory of `bytes` over when they are moved in.
    explicit SecretBytes(std::vector<unsigned char> bytes) noexcept : bytes_(std::move(bytes)) {}
    SecretBytes(const SecretBytes&) = default;
    SecretBytes(SecretBytes&&) noexcept = default;
    // An assignment would release the bytes from before as they are.
    SecretBytes& operator=(const SecretBytes&) = delete;
    ~SecretBytes() {
        // A vector that has shrunk keeps old bytes behind its end. This allocates nothing.
        bytes_.resize(bytes_.capacity());
        Wipe(bytes_.data(), bytes_.size());
    }

    const std::vector<unsigned char>& Get() const noexcept { return bytes_; }
    /// The bytes, for functions of the platform that ask for a pointer to what they only read.
    unsigned char* Data() noexcept { return bytes_.data(); }

private:
    std::vector<unsigned char> bytes_;
};

} // namespace kq::crypt
