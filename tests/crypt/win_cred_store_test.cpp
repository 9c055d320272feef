#include <windows.h>

#include <wincred.h>

#include <kq/crypt/credential_store.h>

#include "support/credential_targets.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using kq::crypt::Credential;
using kq::crypt::MkCredential;
using kq::crypt::MkDefaultPersistenceCredentialStore;
using kq::crypt::Store;
using kq::crypt::StoreSaveError;

namespace {

using Bytes = std::vector<unsigned char>;
using Saved = kq::expected<void, std::exception_ptr>;

/// The text of the exception that a failed save holds, which has to be an `Exception`.
template <class Exception>
std::string FailureText(const Saved& saved) {
    if (saved)
        return "(it was saved)";
    return ThrownText<Exception>([&] { std::rethrow_exception(saved.error()); });
}

class WinCredStore : public testing::Test {
protected:
    kq_test::CredentialTargets targets;
    Store store = MkDefaultPersistenceCredentialStore();
    const std::wstring key = targets.Name(L"key");
};

TEST_F(WinCredStore, ReturnsWhatWasSaved) {
    const Credential credential = MkCredential(L"J\x00F6 \x20AC", Bytes{0, 1, 0, 255, 0});
    EXPECT_TRUE(store.Save(key, credential).has_value());
    const std::optional<Credential> loaded = store.Load(key);
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(*loaded, credential);
}

TEST_F(WinCredStore, HasNothingUnderAnUnknownKey) {
    EXPECT_FALSE(store.Load(key).has_value());
    store.Save(key, MkCredential(L"u", Bytes{1})).value();
    EXPECT_FALSE(store.Load(targets.Name(L"other")).has_value());
}

TEST_F(WinCredStore, KeepsTheLastCredentialOfAKey) {
    store.Save(key, MkCredential(L"first", Bytes{1, 2, 3})).value();
    const Credential second = MkCredential(L"second", Bytes{4});
    EXPECT_TRUE(store.Save(key, second).has_value());
    EXPECT_EQ(*store.Load(key), second);
}

TEST_F(WinCredStore, RemovesACredential) {
    store.Save(key, MkCredential(L"u", Bytes{1})).value();
    EXPECT_TRUE(store.Remove(key));
    EXPECT_FALSE(store.Load(key).has_value());
}

TEST_F(WinCredStore, RemovesWhatIsNotThere) { EXPECT_TRUE(store.Remove(key)); }

TEST_F(WinCredStore, SharesItsCredentialsWithEveryOther) {
    const Credential credential = MkCredential(L"u", Bytes{1});
    store.Save(key, credential).value();
    Store other = MkDefaultPersistenceCredentialStore();
    EXPECT_EQ(*other.Load(key), credential);
    other.Remove(key);
    EXPECT_FALSE(store.Load(key).has_value());
}

TEST_F(WinCredStore, IsTheCredentialManagersOwn) {
    store.Save(key, MkCredential(L"u", std::wstring(L"ab"))).value();
    CREDENTIALW* record = nullptr;
    ASSERT_TRUE(CredReadW(key.c_str(), CRED_TYPE_GENERIC, 0, &record));
    const std::unique_ptr<CREDENTIALW, decltype(&CredFree)> release(record, CredFree);
    EXPECT_EQ(record->Flags, 0u);
    EXPECT_EQ(record->Type, DWORD{CRED_TYPE_GENERIC});
    EXPECT_EQ(std::wstring(record->TargetName), key);
    EXPECT_EQ(std::wstring(record->UserName), L"u");
    EXPECT_EQ(Bytes(record->CredentialBlob, record->CredentialBlob + record->CredentialBlobSize),
              (Bytes{0x61, 0x00, 0x62, 0x00}));
    EXPECT_EQ(record->Persist, DWORD{CRED_PERSIST_LOCAL_MACHINE});
    EXPECT_EQ(record->Comment, nullptr);
    EXPECT_EQ(record->TargetAlias, nullptr);
    EXPECT_EQ(record->AttributeCount, 0u);
}

TEST_F(WinCredStore, LoadsARecordThatNamesNoUserAndHasNoSecret) {
    std::wstring target = key;
    CREDENTIALW record{};
    record.Type = CRED_TYPE_GENERIC;
    record.TargetName = target.data();
    record.Persist = CRED_PERSIST_SESSION;
    ASSERT_TRUE(CredWriteW(&record, 0));
    const std::optional<Credential> loaded = store.Load(key);
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(*loaded, MkCredential(L"", Bytes()));
}

TEST_F(WinCredStore, TakesSecretsUpToTheLimitOfTheSystem) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2560}}) {
        const Credential credential = MkCredential(L"u", Bytes(size, 9));
        EXPECT_TRUE(store.Save(key, credential).has_value()) << size;
        EXPECT_EQ(*store.Load(key), credential) << size;
    }
}

TEST_F(WinCredStore, RefusesALongerSecret) {
    const Credential kept = MkCredential(L"u", Bytes(2560, 9));
    store.Save(key, kept).value();
    for (const std::size_t size : {std::size_t{2561}, std::size_t{100'000}})
        EXPECT_EQ(
            FailureText<std::length_error>(store.Save(key, MkCredential(L"u", Bytes(size, 9)))),
            "Illegal credential length")
            << size;
    EXPECT_EQ(*store.Load(key), kept) << "the one from before stays";
}

TEST_F(WinCredStore, ChecksTheLengthBeforeTheSystemIsAsked) {
    // The system would refuse this key, too.
    const std::wstring longKey = targets.Name(std::wstring(40'000, L'k'));
    EXPECT_EQ(
        FailureText<std::length_error>(store.Save(longKey, MkCredential(L"u", Bytes(2561, 9)))),
        "Illegal credential length");
}

TEST_F(WinCredStore, ReportsThatTheSystemRefused) {
    const std::wstring longKey = targets.Name(std::wstring(40'000, L'k'));
    EXPECT_EQ(FailureText<StoreSaveError>(store.Save(longKey, MkCredential(L"u", Bytes{1}))),
              "Error saving to store");
    EXPECT_FALSE(store.Load(longKey).has_value());
    EXPECT_TRUE(store.Remove(longKey));
}

TEST_F(WinCredStore, LeavesItToTheSystemWhetherAKeyMayBeEmpty) {
    if (store.Load(L"").has_value())
        GTEST_SKIP() << "there is a credential without a name, which is not ours";
    const Saved saved = store.Save(L"", MkCredential(L"u", Bytes{1}));
    const std::optional<Credential> loaded = store.Load(L"");
    EXPECT_TRUE(store.Remove(L""));
    EXPECT_EQ(loaded.has_value(), saved.has_value());
    if (saved)
        EXPECT_EQ(*loaded, MkCredential(L"u", Bytes{1}));
    else
        EXPECT_EQ(FailureText<StoreSaveError>(saved), "Error saving to store");
    EXPECT_FALSE(store.Load(L"").has_value());
}

TEST_F(WinCredStore, TheSystemTakesAUserNameUpToItsFirstZero) {
    store.Save(key, MkCredential(std::wstring(L"a\0b", 3), Bytes{1})).value();
    EXPECT_EQ(*store.Load(key), MkCredential(L"a", Bytes{1}));
}

TEST_F(WinCredStore, TheSystemTakesAKeyUpToItsFirstZero) {
    const std::wstring longer = key + std::wstring(L"\0tail", 5);
    const Credential credential = MkCredential(L"u", Bytes{1});
    store.Save(longer, credential).value();
    EXPECT_EQ(*store.Load(key), credential);
    EXPECT_EQ(*store.Load(longer), credential);
    store.Remove(longer);
    EXPECT_FALSE(store.Load(key).has_value());
}

TEST_F(WinCredStore, TheSystemComparesKeysWithoutRegardToCase) {
    const std::wstring lower = targets.Name(L"case");
    const Credential credential = MkCredential(L"u", Bytes{1});
    store.Save(targets.Name(L"CASE"), credential).value();
    EXPECT_EQ(*store.Load(lower), credential);
}

TEST_F(WinCredStore, TakesKeysWithAnyCharacter) {
    for (const wchar_t* const name : {L"a b ", L"a\\b", L"a/b", L"a:b", L"a*", L"*", L"\x20AC"}) {
        const std::wstring target = targets.Name(name);
        const Credential credential = MkCredential(name, Bytes{1});
        EXPECT_TRUE(store.Save(target, credential).has_value()) << testing::PrintToString(name);
        const std::optional<Credential> loaded = store.Load(target);
        ASSERT_TRUE(loaded.has_value()) << testing::PrintToString(name);
        EXPECT_EQ(*loaded, credential);
        store.Remove(target);
        EXPECT_FALSE(store.Load(target).has_value()) << testing::PrintToString(name);
    }
}

/// Does not give its secret away.
class Closed final : public Credential::Interface {
public:
    std::unique_ptr<Interface> Clone() const override { return std::make_unique<Closed>(*this); }
    std::wstring UserName() const override { return {}; }
    Bytes Secret() const override { return {}; }
    void WithSecret(const std::function<void(const Bytes&)>& /*use*/) const override {
        throw std::domain_error("closed");
    }
    bool Equals(const Interface& /*other*/) const override { return false; }
};

TEST_F(WinCredStore, ReportsWhatACredentialThrows) {
    EXPECT_EQ(
        FailureText<std::domain_error>(store.Save(key, Credential(std::make_unique<Closed>()))),
        "closed");
    EXPECT_FALSE(store.Load(key).has_value());
}

TEST_F(WinCredStore, MayBeUsedOnManyThreads) {
    std::vector<std::wstring> keys;
    for (int i = 0; i != 4; ++i)
        keys.push_back(targets.Name(std::to_wstring(i)));
    std::vector<std::thread> threads;
    threads.reserve(keys.size());
    for (const std::wstring& own : keys)
        threads.emplace_back([this, &own] {
            for (unsigned char round = 0; round != 50; ++round) {
                const Credential credential = MkCredential(own, Bytes(100, round));
                EXPECT_TRUE(store.Save(own, credential).has_value());
                EXPECT_EQ(*store.Load(own), credential);
            }
            store.Remove(own);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::wstring& own : keys)
        EXPECT_FALSE(store.Load(own).has_value());
}

} // namespace
