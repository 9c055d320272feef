// Targets in the real credential manager.
#pragma once

#include <windows.h>

#include <wincred.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace kq_test {

/// Names of targets that nobody else uses. Whatever was saved under them is removed at the end of
/// this object.
class CredentialTargets {
public:
    CredentialTargets() {
        std::random_device source;
        const std::uint64_t number = std::uint64_t{source()} << 32 | source();
        prefix_ = L"kq-test-" + std::to_wstring(number) + L"-";
    }
    ~CredentialTargets() {
        for (const std::wstring& name : names_)
            CredDeleteW(name.c_str(), CRED_TYPE_GENERIC, 0);
    }
    CredentialTargets(const CredentialTargets&) = delete;
    CredentialTargets& operator=(const CredentialTargets&) = delete;

    /// The target that ends with `name`.
    std::wstring Name(const std::wstring& name) {
        names_.push_back(prefix_ + name);
        return names_.back();
    }

private:
    std::wstring prefix_;
    std::vector<std::wstring> names_;
};

} // namespace kq_test
