#include <kq/crypt/credential_store.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using kq::expected;
using kq::unexpected;
using kq::crypt::Credential;
using kq::crypt::MkCredential;
using kq::crypt::Store;
using kq::crypt::StoreSaveError;

namespace {

using Bytes = std::vector<unsigned char>;

TEST(StoreSaveError, SaysWhatFailed) {
    EXPECT_EQ(ThrownText<StoreSaveError>([] { throw StoreSaveError(); }), "Error saving to store");
    EXPECT_THROW(throw StoreSaveError(), std::exception);
}

TEST(Store, CanBeMovedButNotCopied) {
    static_assert(!std::is_copy_constructible_v<Store>);
    static_assert(!std::is_copy_assignable_v<Store>);
    static_assert(std::is_nothrow_move_constructible_v<Store>);
    static_assert(std::is_nothrow_move_assignable_v<Store>);
    Store source = kq::crypt::MkMemoryCredentialStore();
    source.Save(L"key", MkCredential(L"u", Bytes{1})).value();
    Store target = std::move(source);
    EXPECT_TRUE(target.Load(L"key").has_value());
    source = kq::crypt::MkMemoryCredentialStore();
    EXPECT_FALSE(source.Load(L"key").has_value());
    source = std::move(target);
    EXPECT_TRUE(source.Load(L"key").has_value());
}

TEST(Store, SavesWithoutThrowing) {
    static_assert(noexcept(
        std::declval<Store&>().Save(std::declval<std::wstring>(), std::declval<Credential>())));
}

TEST(Store, CanBeAskedWhenItIsConst) {
    const Store store = kq::crypt::MkMemoryCredentialStore();
    EXPECT_FALSE(store.Load(L"key").has_value());
}

TEST(Store, IsNeverEmpty) {
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { Store(nullptr); }), "Store may not be NULL!");
}

} // namespace

namespace store_slots {

/// The operations of `Store::Interface` in the order that binaries were built against, to stand in
/// for an implementation of one of those.
class InOrder {
public:
    virtual expected<void, std::exception_ptr> Save(std::wstring key,
                                                    Credential credential) noexcept = 0;
    virtual std::optional<Credential> Load(const std::wstring& key) const = 0;
    virtual bool Remove(const std::wstring& key) = 0;
    virtual ~InOrder() = default;
};

/// Notes the operations that are called, and with what.
class Noting final : public InOrder {
public:
    explicit Noting(std::wstring& notes) : notes_(notes) {}
    ~Noting() override { notes_ += L"end"; }

    expected<void, std::exception_ptr> Save(std::wstring key,
                                            Credential credential) noexcept override {
        notes_ += L"save " + key + L" " + credential.UserName() + L", ";
        return unexpected{std::make_exception_ptr(std::out_of_range("no room"))};
    }
    std::optional<Credential> Load(const std::wstring& key) const override {
        notes_ += L"load " + key + L", ";
        return MkCredential(key, Bytes());
    }
    bool Remove(const std::wstring& key) override {
        notes_ += L"remove " + key + L", ";
        return false;
    }

private:
    std::wstring& notes_;
};

TEST(StoreInterface, KeepsTheOrderOfItsOperations) {
    std::wstring notes;
    auto implementation = std::make_unique<Noting>(notes);
    {
        Store store(std::unique_ptr<Store::Interface>(
            reinterpret_cast<Store::Interface*>(implementation.release())));
        const auto saved = store.Save(L"a", MkCredential(L"u", Bytes()));
        ASSERT_FALSE(saved.has_value());
        EXPECT_EQ(ThrownText<std::out_of_range>([&] { std::rethrow_exception(saved.error()); }),
                  "no room");
        EXPECT_EQ(store.Load(L"b")->UserName(), L"b");
        EXPECT_FALSE(store.Remove(L"c"));
    }
    EXPECT_EQ(notes, L"save a u, load b, remove c, end");
}

} // namespace store_slots
