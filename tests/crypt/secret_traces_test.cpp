// Secrets that were destroyed are looked for in the heap.
#include <kq/crypt/credential_store.h>

#include "support/credential_targets.h"
#include "support/heap_marker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using kq::crypt::Credential;
using kq::crypt::MkCredential;
using kq::crypt::Store;
using kq_test::HeapMarker;

namespace {

using Bytes = std::vector<unsigned char>;

/// The markers in the secret of each test: one copy of it in the heap are so many findings.
constexpr std::size_t once = 64;

/// As a text, without another copy in the heap than the text's own.
std::wstring Text(const HeapMarker& marker) {
    static_assert(HeapMarker::size % sizeof(wchar_t) == 0);
    Bytes bytes = marker.Repeated(once);
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    for (std::size_t i = 0; i != bytes.size(); ++i)
        reinterpret_cast<unsigned char*>(text.data())[i] = std::exchange(bytes[i], {});
    return text;
}

/// Overwrites what a test owns.
template <class Container>
void Clear(Container& container) {
    for (auto& element : container)
        const_cast<volatile typename Container::value_type&>(element) = {};
}

TEST(HeapMarker, FindsWhatIsInUseAndWhatWasFreed) {
    const HeapMarker marker;
    EXPECT_EQ(marker.CountInHeap(), 0u);
    {
        const Bytes bytes = marker.Repeated(once);
        EXPECT_EQ(marker.CountInHeap(), once);
        const Bytes copy = bytes; // NOLINT: to be found
        EXPECT_EQ(marker.CountInHeap(), 2 * once);
    }
    EXPECT_GT(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, ADestroyedCredentialLeavesNone) {
    const HeapMarker marker;
    std::optional<Credential> credential = MkCredential(L"u", marker.Repeated(once));
    EXPECT_EQ(marker.CountInHeap(), once);
    credential.reset();
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, ASecretThatIsMovedInExistsOnce) {
    const HeapMarker marker;
    Bytes secret = marker.Repeated(once);
    const Credential first = MkCredential(L"u", std::move(secret));
    EXPECT_EQ(marker.CountInHeap(), once);
    Credential second = MkCredential(L"u", Bytes{1});
    second = first;
    EXPECT_EQ(marker.CountInHeap(), 2 * once);
    const Credential third = std::move(second);
    EXPECT_EQ(marker.CountInHeap(), 2 * once);
    EXPECT_EQ(first, third);
    first.WithSecret([&](const Bytes& /*secret*/) { EXPECT_EQ(marker.CountInHeap(), 2 * once); });
}

TEST(SecretTraces, AnAssignedCredentialLeavesNoneOfItsOldSecret) {
    const HeapMarker marker;
    Credential credential = MkCredential(L"u", marker.Repeated(once));
    const Credential other = MkCredential(L"u", Bytes(once * HeapMarker::size, 1));
    credential = other;
    EXPECT_EQ(marker.CountInHeap(), 0u);
    credential = MkCredential(L"u", marker.Repeated(once));
    credential = MkCredential(L"u", Bytes{1});
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, ASecretTextIsCopiedOnce) {
    const HeapMarker marker;
    std::wstring text = Text(marker);
    ASSERT_EQ(marker.CountInHeap(), once);
    std::optional<Credential> credential = MkCredential(L"u", text);
    EXPECT_EQ(marker.CountInHeap(), 2 * once);
    credential.reset();
    EXPECT_EQ(marker.CountInHeap(), once) << "the caller's own";
    Clear(text);
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, ACopyThatTheCallerAskedForIsTheCallers) {
    const HeapMarker marker;
    std::optional<Credential> credential = MkCredential(L"u", marker.Repeated(once));
    Bytes copy = credential->Secret();
    EXPECT_EQ(marker.CountInHeap(), 2 * once);
    credential.reset();
    EXPECT_EQ(marker.CountInHeap(), once);
    Clear(copy);
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, AVectorThatHasShrunkLeavesNoneBehindItsEnd) {
    const HeapMarker marker;
    Bytes secret = marker.Repeated(once);
    secret.resize(1);
    std::optional<Credential> credential = MkCredential(L"u", std::move(secret));
    credential.reset();
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, AMemoryStoreLeavesNone) {
    const HeapMarker marker;
    {
        Store store = kq::crypt::MkMemoryCredentialStore();
        store.Save(L"key", MkCredential(L"u", marker.Repeated(once))).value();
        EXPECT_EQ(marker.CountInHeap(), once) << "handed on, not copied";
        store.Save(L"key", MkCredential(L"u", marker.Repeated(once))).value();
        EXPECT_EQ(marker.CountInHeap(), once) << "the one that was not kept is gone";
        {
            const std::optional<Credential> loaded = store.Load(L"key");
            EXPECT_EQ(marker.CountInHeap(), 2 * once);
        }
        EXPECT_EQ(marker.CountInHeap(), once);
        store.Save(L"other", MkCredential(L"u", marker.Repeated(once))).value();
        store.Remove(L"key");
        EXPECT_EQ(marker.CountInHeap(), once);
        // The table grows, and moves what it holds.
        for (int i = 0; i != 100; ++i)
            store.Save(std::to_wstring(i), MkCredential(L"u", Bytes{1})).value();
        EXPECT_EQ(marker.CountInHeap(), once);
    }
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

TEST(SecretTraces, APersistentStoreLeavesNone) {
    const HeapMarker marker;
    kq_test::CredentialTargets targets;
    const std::wstring key = targets.Name(L"key");
    Store store = kq::crypt::MkDefaultPersistenceCredentialStore();
    ASSERT_TRUE(store.Save(key, MkCredential(L"u", marker.Repeated(once))).has_value());
    EXPECT_EQ(marker.CountInHeap(), 0u);
    {
        const std::optional<Credential> loaded = store.Load(key);
        EXPECT_EQ(marker.CountInHeap(), once);
    }
    EXPECT_EQ(marker.CountInHeap(), 0u);
    const std::wstring longKey = targets.Name(std::wstring(40'000, L'k'));
    EXPECT_FALSE(store.Save(longKey, MkCredential(L"u", marker.Repeated(once))).has_value());
    EXPECT_FALSE(store.Save(key, MkCredential(L"u", marker.Repeated(400))).has_value());
    EXPECT_EQ(marker.CountInHeap(), 0u) << "also when saving fails";
}

} // namespace
