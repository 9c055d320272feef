// What credentials take from the heap: how often, what they give back, and what happens when it is
// exhausted.
#include <kq/crypt/credential_store.h>

#include "support/allocations.h"
#include "support/credential_targets.h"
#include "support/heap_marker.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using kq::crypt::Credential;
using kq::crypt::MkCredential;
using kq::crypt::Store;
using kq_test::AllocationLimit;
using kq_test::Allocations;
using kq_test::FailuresUntilEnoughMemory;
using kq_test::HeapMarker;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t markerCount = 32;

/// Looks for the marker in everything that is freed while it lives. One at a time.
class WatchFreed {
public:
    explicit WatchFreed(const HeapMarker& marker) : marker_(marker) {
        current() = this;
        kq_test::whenFreed = [](const void* memory) {
            if (WatchFreed* const watch = current())
                watch->found_ += watch->marker_.CountIn(memory, _msize(const_cast<void*>(memory)));
        };
    }
    ~WatchFreed() {
        kq_test::whenFreed = nullptr;
        current() = nullptr;
    }
    WatchFreed(const WatchFreed&) = delete;
    WatchFreed& operator=(const WatchFreed&) = delete;

    std::size_t Found() const { return found_; }

private:
    static WatchFreed*& current() {
        static WatchFreed* instance = nullptr;
        return instance;
    }

    const HeapMarker& marker_;
    std::size_t found_ = 0;
};

TEST(SecretAllocations, ASecretThatIsMovedInStaysWhereItIs) {
    Bytes secret(1000, 1);
    std::wstring userName(100, L'u');
    const std::size_t before = Allocations();
    const Credential credential = MkCredential(std::move(userName), std::move(secret));
    EXPECT_EQ(Allocations() - before, 1u) << "the credential itself";
}

TEST(SecretAllocations, TheBytesOfATextAreOneAllocation) {
    const std::wstring text(1000, L'x');
    const std::size_t before = Allocations();
    const Credential credential = MkCredential(L"u", text);
    EXPECT_EQ(Allocations() - before, 2u) << "the credential and its bytes";
}

TEST(SecretAllocations, NothingIsFreedWithASecretInIt) {
    const HeapMarker marker;
    kq_test::CredentialTargets targets;
    const std::wstring key = targets.Name(L"key");
    {
        const WatchFreed freed(marker);
        { const Bytes plain = marker.Repeated(markerCount); }
        ASSERT_EQ(freed.Found(), markerCount) << "the watch sees what is not overwritten";
    }
    const WatchFreed freed(marker);
    for (Store (*make)() :
         {kq::crypt::MkMemoryCredentialStore, kq::crypt::MkDefaultPersistenceCredentialStore}) {
        Store store = make();
        const Credential credential = MkCredential(L"u", marker.Repeated(markerCount));
        for (int round = 0; round != 2; ++round) {
            EXPECT_TRUE(store.Save(key, credential).has_value());
            EXPECT_EQ(store.Load(key), credential);
        }
        EXPECT_FALSE(credential == MkCredential(L"v", marker.Repeated(markerCount)));
        store.Remove(key);
    }
    EXPECT_EQ(freed.Found(), 0u);
}

TEST(SecretAllocations, ACredentialThatCannotBeMadeLeavesNoTrace) {
    const HeapMarker marker;
    const WatchFreed freed(marker);
    const int failures = FailuresUntilEnoughMemory([&](int limit) {
        Bytes secret = marker.Repeated(markerCount);
        const AllocationLimit exhausted(limit);
        MkCredential(L"u", std::move(secret));
    });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(freed.Found(), 0u);
}

TEST(SecretAllocations, ACopyThatCannotBeMadeLeavesNoTraceAndThrows) {
    const HeapMarker marker;
    const Credential credential = MkCredential(L"u", marker.Repeated(markerCount));
    const WatchFreed freed(marker);
    const int failures = FailuresUntilEnoughMemory([&](int limit) {
        const AllocationLimit exhausted(limit);
        const Credential copy = credential; // NOLINT: the copy is what is tested
    });
    EXPECT_EQ(failures, 2) << "the credential and its secret";
    EXPECT_EQ(freed.Found(), 0u);
}

TEST(SecretAllocations, AStoreReportsThatMemoryRanOut) {
    const HeapMarker marker;
    const WatchFreed freed(marker);
    kq_test::CredentialTargets targets;
    const std::wstring key = targets.Name(L"key");
    for (Store (*make)() :
         {kq::crypt::MkMemoryCredentialStore, kq::crypt::MkDefaultPersistenceCredentialStore}) {
        Store store = make();
        const int failures = FailuresUntilEnoughMemory([&](int limit) {
            std::wstring ownKey = key;
            Credential credential = MkCredential(L"u", marker.Repeated(markerCount));
            std::optional<kq::expected<void, std::exception_ptr>> saved;
            {
                const AllocationLimit exhausted(limit);
                saved = store.Save(std::move(ownKey), std::move(credential));
            }
            if (!*saved) {
                EXPECT_FALSE(store.Load(key).has_value());
                std::rethrow_exception(saved->error());
            }
        });
        EXPECT_GT(failures, 0);
        EXPECT_TRUE(store.Load(key).has_value());
        store.Remove(key);
    }
    EXPECT_EQ(freed.Found(), 0u);
}

TEST(SecretAllocations, ALoadThatRunsOutOfMemoryLeavesNoTraceAndThrows) {
    const HeapMarker marker;
    const WatchFreed freed(marker);
    kq_test::CredentialTargets targets;
    const std::wstring key = targets.Name(L"key");
    for (Store (*make)() :
         {kq::crypt::MkMemoryCredentialStore, kq::crypt::MkDefaultPersistenceCredentialStore}) {
        Store store = make();
        store.Save(key, MkCredential(L"u", marker.Repeated(markerCount))).value();
        const int failures = FailuresUntilEnoughMemory([&](int limit) {
            const AllocationLimit exhausted(limit);
            store.Load(key);
        });
        EXPECT_EQ(failures, 2) << "the credential and its secret";
        store.Remove(key);
    }
    EXPECT_EQ(freed.Found(), 0u);
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

} // namespace
