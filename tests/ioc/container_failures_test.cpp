// A container is as it was when an operation has thrown.
#include <kq/ioc/container.h>

#include "support/thrown.h"
#include "support/tracked_value.h"

#include <gtest/gtest.h>

#include <any>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using kq::IoC::CreateContainer;
using kq::IoC::IContainer;
using kq_test::FailingCopies;
using kq_test::TrackedValue;

namespace {

/// So many allocations of the test's one thread succeed; negative for all.
int allocationsUntilFailure = -1;

void* Allocate(std::size_t size) {
    if (allocationsUntilFailure == 0)
        throw std::bad_alloc();
    --allocationsUntilFailure;
    if (void* const memory = std::malloc(size)) // NOLINT: what operator new is made of
        return memory;
    throw std::bad_alloc();
}

void Free(void* memory) noexcept {
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

/// What a container holds under the keys "old" and "new" of every table.
std::string Contents(const IContainer& container) {
    std::string text;
    const auto add = [&text](const std::any& value) {
        const auto* const tracked = std::any_cast<TrackedValue>(&value);
        text += tracked == nullptr ? "-" : std::to_string(tracked->Number());
        text += ' ';
    };
    for (const char* const key : {"old", "new"}) {
        add(container.GetEntry(key));
        for (const auto& list :
             {container.GetFixed(key), container.GetRemovable(key), container.GetLocal(key)}) {
            text += "( ";
            for (const std::any& value : list)
                add(value);
            text += ") ";
        }
    }
    return text;
}

/// One operation that changes a container.
struct Change {
    const char* name;
    void (IContainer::*append)(std::any const&, std::string const&);
};

constexpr Change changes[] = {{"fixed", &IContainer::AppendFixed},
                              {"removable", &IContainer::AppendRemovable},
                              {"local", &IContainer::AppendLocal}};

class ContainerFailures : public testing::Test {
protected:
    ContainerFailures() {
        container->SetEntry(value, "old");
        for (const Change& change : changes)
            ((*container).*change.append)(value, "old");
    }

    /// Whether `operation` fails with every number of allocations that is too small, and changes
    /// nothing then. Returns whether it failed at all.
    bool FailsWithoutMemoryAndChangesNothing(const std::function<void()>& operation) {
        const std::string before = Contents(*container);
        const int living = TrackedValue::living();
        for (int allowed = 0;; ++allowed) {
            allocationsUntilFailure = allowed;
            try {
                operation();
                allocationsUntilFailure = -1;
                return allowed > 0;
            } catch (const std::bad_alloc&) {
                allocationsUntilFailure = -1;
                EXPECT_EQ(Contents(*container), before);
                EXPECT_EQ(TrackedValue::living(), living);
            }
        }
    }

    const std::any value = std::any(std::in_place_type<TrackedValue>, 5);
    const std::unique_ptr<IContainer> container = CreateContainer();
};

TEST_F(ContainerFailures, ACopyThatThrowsAppendsNothing) {
    const std::string before = Contents(*container);
    for (const Change& change : changes)
        for (const char* const key : {"old", "new"}) {
            {
                const FailingCopies failing;
                EXPECT_EQ(ThrownText<std::domain_error>(
                              [&] { ((*container).*change.append)(value, key); }),
                          "no copy")
                    << change.name << " " << key;
            }
            EXPECT_EQ(Contents(*container), before) << change.name << " " << key;
        }
    EXPECT_FALSE(container->RemoveRemovable("new")) << "not even an empty list";
}

TEST_F(ContainerFailures, ACopyThatThrowsLeavesALookUpAndFreesTheLock) {
    const std::string before = Contents(*container);
    container->AppendFixed(value, "old");
    const int living = TrackedValue::living();
    {
        const FailingCopies failing;
        EXPECT_THROW(container->GetEntry("old"), std::domain_error);
        EXPECT_THROW(container->GetRemovable("old"), std::domain_error);
        EXPECT_THROW(container->GetLocal("old"), std::domain_error);
    }
    {
        const FailingCopies failing(1);
        EXPECT_THROW(container->GetFixed("old"), std::domain_error);
    }
    EXPECT_EQ(TrackedValue::living(), living) << "the half of the list is gone again";
    EXPECT_EQ(container->GetFixed("old").size(), 2u);
}

TEST_F(ContainerFailures, ACopyThatThrowsMakesNoClone) {
    const std::string before = Contents(*container);
    const int living = TrackedValue::living();
    for (int copies = 0; copies != 3; ++copies) {
        const FailingCopies failing(copies);
        EXPECT_EQ(ThrownText<std::domain_error>([&] { container->Clone(); }), "no copy");
    }
    EXPECT_EQ(TrackedValue::living(), living);
    EXPECT_EQ(Contents(*container), before);
    EXPECT_EQ(Contents(*container->Clone()), "5 ( 5 ) ( 5 ) ( ) - ( ) ( ) ( ) ");
}

TEST_F(ContainerFailures, AnEntryIsMovedInNotCopied) {
    std::any given(std::in_place_type<TrackedValue>, 6);
    const int before = TrackedValue::copies();
    container->SetEntry(std::move(given), "old");
    container->SetEntry(std::any(std::in_place_type<TrackedValue>, 7), "new");
    EXPECT_EQ(TrackedValue::copies(), before);
    EXPECT_EQ(Contents(*container), "6 ( 5 ) ( 5 ) ( 5 ) 7 ( ) ( ) ( ) ");
}

TEST_F(ContainerFailures, RunningOutOfMemoryChangesNothing) {
    // Several of each, so that a list and a table grow, too.
    for (int round = 0; round != 20; ++round)
        for (const Change& change : changes)
            for (const char* const key : {"old", "new"})
                EXPECT_TRUE(FailsWithoutMemoryAndChangesNothing([&] {
                    ((*container).*change.append)(value, key);
                })) << change.name
                    << " " << key;
    std::string key = "new";
    for (int round = 0; round != 20; ++round, key += "er") {
        EXPECT_TRUE(FailsWithoutMemoryAndChangesNothing([&] {
            container->SetEntry(value, key); // which copies, too
        }));
        EXPECT_TRUE(container->GetEntry(key).has_value());
    }
    EXPECT_TRUE(FailsWithoutMemoryAndChangesNothing([&] { container->Clone(); }));
    EXPECT_TRUE(FailsWithoutMemoryAndChangesNothing([&] { container->GetFixed("old"); }));
    EXPECT_TRUE(FailsWithoutMemoryAndChangesNothing([&] { container->GetEntry("old"); }));
}

TEST_F(ContainerFailures, RemovingNeedsNoMemory) {
    allocationsUntilFailure = 0;
    const bool entry = container->RemoveEntry("old");
    const bool list = container->RemoveRemovable("old");
    allocationsUntilFailure = -1;
    EXPECT_TRUE(entry);
    EXPECT_TRUE(list);
}

} // namespace
