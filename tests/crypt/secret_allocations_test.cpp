// What credentials take from the heap: how often, what they give back, and what happens when it is
// exhausted.
#include <kq/crypt/credential_store.h>

#include "support/credential_targets.h"
#include "support/heap_marker.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using kq::crypt::Credential;
using kq::crypt::MkCredential;
using kq::crypt::Store;
using kq_test::HeapMarker;

namespace {

/// What the tests, which use one thread, know and decide about the heap.
struct Heap {
    int allocations = 0;
    int untilFailure = -1;              ///< so many allocations succeed; negative for all
    const HeapMarker* marker = nullptr; ///< looked for in what is freed
    std::size_t leaked = 0;             ///< markers found there
};
Heap heap;

void* Allocate(std::size_t size) {
    if (heap.untilFailure == 0)
        throw std::bad_alloc();
    --heap.untilFailure;
    ++heap.allocations;
    if (void* const memory = std::malloc(size)) // NOLINT: what operator new is made of
        return memory;
    throw std::bad_alloc();
}

void Free(void* memory) noexcept {
    if (heap.marker != nullptr && memory != nullptr)
        heap.leaked += heap.marker->CountIn(memory, _msize(memory));
    std::free(memory); // NOLINT: what operator delete is made of
}

} // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { Free(memory); }

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t markerCount = 32;

/// Looks for the marker in everything that is freed while it lives.
class WatchFreed {
public:
    explicit WatchFreed(const HeapMarker& marker) {
        heap.marker = &marker;
        heap.leaked = 0;
    }
    ~WatchFreed() { heap.marker = nullptr; }
    WatchFreed(const WatchFreed&) = delete;
    WatchFreed& operator=(const WatchFreed&) = delete;

    std::size_t Found() const { return heap.leaked; }
};

/// Lets every allocation fail while it lives, after so many that succeed.
class Exhausted {
public:
    explicit Exhausted(int after) { heap.untilFailure = after; }
    ~Exhausted() { heap.untilFailure = -1; }
    Exhausted(const Exhausted&) = delete;
    Exhausted& operator=(const Exhausted&) = delete;
};

/// Calls `action` with ever more allocations that succeed until it succeeds as a whole; returns how
/// often it failed.
template <class Action>
int FailuresUntilSuccess(Action action) {
    for (int failures = 0;; ++failures)
        try {
            action(failures);
            return failures;
        } catch (const std::bad_alloc&) {
        }
}

TEST(SecretAllocations, ASecretThatIsMovedInStaysWhereItIs) {
    Bytes secret(1000, 1);
    std::wstring userName(100, L'u');
    const int before = heap.allocations;
    const Credential credential = MkCredential(std::move(userName), std::move(secret));
    EXPECT_EQ(heap.allocations - before, 1) << "the credential itself";
}

TEST(SecretAllocations, TheBytesOfATextAreOneAllocation) {
    const std::wstring text(1000, L'x');
    const int before = heap.allocations;
    const Credential credential = MkCredential(L"u", text);
    EXPECT_EQ(heap.allocations - before, 2) << "the credential and its bytes";
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
    const int failures = FailuresUntilSuccess([&](int allowed) {
        Bytes secret = marker.Repeated(markerCount);
        const Exhausted exhausted(allowed);
        MkCredential(L"u", std::move(secret));
    });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(freed.Found(), 0u);
}

TEST(SecretAllocations, ACopyThatCannotBeMadeLeavesNoTraceAndThrows) {
    const HeapMarker marker;
    const Credential credential = MkCredential(L"u", marker.Repeated(markerCount));
    const WatchFreed freed(marker);
    const int failures = FailuresUntilSuccess([&](int allowed) {
        const Exhausted exhausted(allowed);
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
        const int failures = FailuresUntilSuccess([&](int allowed) {
            std::wstring ownKey = key;
            Credential credential = MkCredential(L"u", marker.Repeated(markerCount));
            std::optional<kq::expected<void, std::exception_ptr>> saved;
            {
                const Exhausted exhausted(allowed);
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
        const int failures = FailuresUntilSuccess([&](int allowed) {
            const Exhausted exhausted(allowed);
            store.Load(key);
        });
        EXPECT_EQ(failures, 2) << "the credential and its secret";
        store.Remove(key);
    }
    EXPECT_EQ(freed.Found(), 0u);
    EXPECT_EQ(marker.CountInHeap(), 0u);
}

} // namespace
