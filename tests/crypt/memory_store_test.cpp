#include <kq/crypt/credential_store.h>

#include "support/seed.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
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
using kq::crypt::MkMemoryCredentialStore;
using kq::crypt::Store;

namespace {

using Bytes = std::vector<unsigned char>;

TEST(MemoryStore, ReturnsWhatWasSaved) {
    Store store = MkMemoryCredentialStore();
    EXPECT_TRUE(store.Save(L"key", MkCredential(L"u", Bytes{1, 2})).has_value());
    const std::optional<Credential> loaded = store.Load(L"key");
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(*loaded, MkCredential(L"u", Bytes{1, 2}));
}

TEST(MemoryStore, HasNothingUnderAnUnknownKey) {
    Store store = MkMemoryCredentialStore();
    store.Save(L"key", MkCredential(L"u", Bytes{1})).value();
    EXPECT_FALSE(store.Load(L"other").has_value());
    EXPECT_FALSE(store.Load(L"KEY").has_value());
    EXPECT_FALSE(store.Load(L"").has_value());
}

TEST(MemoryStore, KeepsTheFirstCredentialOfAKey) {
    Store store = MkMemoryCredentialStore();
    const Credential first = MkCredential(L"first", Bytes{1});
    EXPECT_TRUE(store.Save(L"key", first).has_value());
    EXPECT_TRUE(store.Save(L"key", MkCredential(L"second", Bytes{2})).has_value())
        << "what was not kept is a success all the same";
    EXPECT_EQ(*store.Load(L"key"), first);
}

TEST(MemoryStore, TakesANewCredentialForAKeyThatWasRemoved) {
    Store store = MkMemoryCredentialStore();
    store.Save(L"key", MkCredential(L"first", Bytes{1})).value();
    EXPECT_TRUE(store.Remove(L"key"));
    EXPECT_FALSE(store.Load(L"key").has_value());
    store.Save(L"key", MkCredential(L"second", Bytes{2})).value();
    EXPECT_EQ(store.Load(L"key")->UserName(), L"second");
}

TEST(MemoryStore, RemovesWhatIsNotThere) {
    Store store = MkMemoryCredentialStore();
    EXPECT_TRUE(store.Remove(L"key"));
    store.Save(L"key", MkCredential(L"u", Bytes{1})).value();
    EXPECT_TRUE(store.Remove(L"other"));
    EXPECT_TRUE(store.Load(L"key").has_value());
}

TEST(MemoryStore, TakesEveryKeyUserNameAndSecret) {
    Store store = MkMemoryCredentialStore();
    const std::vector<std::wstring> keys = {L"", std::wstring(1, L'\0'), std::wstring(L"a\0b", 3),
                                            L"a", std::wstring(100'000, L'k')};
    for (std::size_t i = 0; i != keys.size(); ++i)
        EXPECT_TRUE(store.Save(keys[i], MkCredential(keys[i], Bytes(5000 * i, 7))).has_value());
    for (std::size_t i = 0; i != keys.size(); ++i)
        EXPECT_EQ(*store.Load(keys[i]), MkCredential(keys[i], Bytes(5000 * i, 7))) << i;
}

TEST(MemoryStore, KeepsManyCredentialsApart) {
    Store store = MkMemoryCredentialStore();
    for (unsigned char i = 0; i != 200; ++i)
        store.Save(std::to_wstring(i), MkCredential(L"u", Bytes{i})).value();
    for (unsigned char i = 0; i != 200; ++i)
        EXPECT_EQ(store.Load(std::to_wstring(i))->Secret(), Bytes{i});
}

TEST(MemoryStore, IsIndependentOfEveryOther) {
    Store left = MkMemoryCredentialStore();
    Store right = MkMemoryCredentialStore();
    left.Save(L"key", MkCredential(L"left", Bytes{1})).value();
    EXPECT_FALSE(right.Load(L"key").has_value());
    right.Save(L"key", MkCredential(L"right", Bytes{2})).value();
    left.Remove(L"key");
    EXPECT_EQ(right.Load(L"key")->UserName(), L"right");
}

TEST(MemoryStore, WhatWasLoadedOutlivesTheStore) {
    std::optional<Credential> loaded;
    {
        Store store = MkMemoryCredentialStore();
        store.Save(L"key", MkCredential(L"u", Bytes{3})).value();
        loaded = store.Load(L"key");
    }
    EXPECT_EQ(*loaded, MkCredential(L"u", Bytes{3}));
}

/// Cannot be cloned, and calls back when it ends.
class Calling final : public Credential::Interface {
public:
    explicit Calling(std::function<void()> atEnd) : atEnd_(std::move(atEnd)) {}
    ~Calling() override { atEnd_(); }
    std::unique_ptr<Interface> Clone() const override { throw std::domain_error("no clone"); }
    std::wstring UserName() const override { return {}; }
    Bytes Secret() const override { return {}; }
    void WithSecret(const std::function<void(const Bytes&)>& use) const override { use({}); }
    bool Equals(const Interface& /*other*/) const override { return false; }

private:
    std::function<void()> atEnd_;
};

TEST(MemoryStore, AFailedCloneLeavesTheStoreUsable) {
    Store store = MkMemoryCredentialStore();
    store.Save(L"key", Credential(std::make_unique<Calling>([] {}))).value();
    EXPECT_THROW(store.Load(L"key"), std::domain_error);
    EXPECT_TRUE(store.Remove(L"key"));
    EXPECT_FALSE(store.Load(L"key").has_value());
}

TEST(MemoryStore, TheEndOfACredentialMayUseTheStore) {
    Store store = MkMemoryCredentialStore();
    int ends = 0;
    const auto atEnd = [&] {
        ++ends;
        store.Save(L"ended", MkCredential(std::to_wstring(ends), Bytes())).value();
    };
    store.Save(L"key", Credential(std::make_unique<Calling>(atEnd))).value();
    EXPECT_EQ(ends, 0);
    store.Remove(L"key");
    EXPECT_EQ(ends, 1);
    store.Save(L"ended", Credential(std::make_unique<Calling>(atEnd))).value();
    EXPECT_EQ(ends, 2) << "not kept, because the key is taken";
    EXPECT_EQ(store.Load(L"ended")->UserName(), L"1");
}

/// Saves, loads and removes at random, and counts what it sees.
class Visitor {
public:
    Visitor(Store& store, const kq_test::Random& random) : store_(store), random_(random) {}

    void Run(int rounds) {
        for (int round = 0; round != rounds; ++round) {
            const std::wstring key = std::to_wstring(random_.Below(5));
            switch (random_.Below(3)) {
                case 0:
                    Save(key);
                    break;
                case 1:
                    Load(key);
                    break;
                default:
                    failures += store_.Remove(key) ? 0 : 1;
            }
        }
    }

    int failures = 0;
    int torn = 0;
    int loads = 0;

private:
    void Save(const std::wstring& key) {
        const auto number = static_cast<unsigned char>(random_.Below(256));
        const auto saved =
            store_.Save(key, MkCredential(std::to_wstring(number), Bytes(64, number)));
        failures += saved ? 0 : 1;
    }

    void Load(const std::wstring& key) {
        const std::optional<Credential> loaded = store_.Load(key);
        if (!loaded)
            return;
        ++loads;
        const Bytes secret = loaded->Secret();
        const bool isWhole = secret.size() == 64 && secret == Bytes(64, secret.front()) &&
                             loaded->UserName() == std::to_wstring(secret.front());
        torn += isWhole ? 0 : 1;
    }

    Store& store_;
    kq_test::Random random_;
};

TEST(MemoryStore, MayBeUsedOnManyThreads) {
    constexpr int rounds = 50'000;
    const std::uint32_t seed = kq_test::Seed();
    Store store = MkMemoryCredentialStore();
    std::vector<Visitor> visitors;
    for (std::uint32_t stream = 0; stream != 4; ++stream)
        visitors.emplace_back(store, kq_test::Random(seed, stream));
    std::vector<std::thread> threads;
    threads.reserve(visitors.size());
    for (Visitor& visitor : visitors)
        threads.emplace_back([&visitor] { visitor.Run(rounds); });
    for (std::thread& thread : threads)
        thread.join();
    for (const Visitor& visitor : visitors) {
        EXPECT_EQ(visitor.failures, 0);
        EXPECT_EQ(visitor.torn, 0);
        EXPECT_GT(visitor.loads, 0);
    }
}

} // namespace
