// A container is as it was when an operation has thrown.
#include <kq/ioc/container.h>

#include "support/allocations.h"
#include "support/thrown.h"
#include "support/tracked_value.h"

#include <gtest/gtest.h>

#include <any>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using kq::IoC::CreateContainer;
using kq::IoC::IContainer;
using kq_test::AllocationLimit;
using kq_test::Allocations;
using kq_test::FailingCopies;
using kq_test::FailuresUntilEnoughMemory;
using kq_test::TrackedValue;

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

    /// Whether `operation` fails while there is too little memory, and changes nothing then.
    template <class Operation>
    bool FailsUnchangedWithoutMemory(Operation operation) {
        const std::string before = Contents(*container);
        const int living = TrackedValue::living();
        const int failures = FailuresUntilEnoughMemory([&](int limit) {
            EXPECT_EQ(Contents(*container), before);
            EXPECT_EQ(TrackedValue::living(), living);
            const AllocationLimit exhausted(limit);
            operation();
        });
        return failures > 0;
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
            for (const char* const key : {"old", "new"}) {
                const auto append = [&] { ((*container).*change.append)(value, key); };
                EXPECT_TRUE(FailsUnchangedWithoutMemory(append)) << change.name << " " << key;
            }
    std::string key = "new";
    for (int round = 0; round != 20; ++round, key += "er") {
        EXPECT_TRUE(FailsUnchangedWithoutMemory([&] {
            container->SetEntry(value, key); // which copies, too
        }));
        EXPECT_TRUE(container->GetEntry(key).has_value());
    }
    EXPECT_TRUE(FailsUnchangedWithoutMemory([&] { container->Clone(); }));
    EXPECT_TRUE(FailsUnchangedWithoutMemory([&] { container->GetFixed("old"); }));
    EXPECT_TRUE(FailsUnchangedWithoutMemory([&] { container->GetEntry("old"); }));
}

TEST_F(ContainerFailures, RunningOutOfMemoryLeavesNothingEmptyBehind) {
    EXPECT_GT(FailuresUntilEnoughMemory([&](int limit) {
                  EXPECT_FALSE(container->RemoveEntry("new"));
                  const AllocationLimit exhausted(limit);
                  container->SetEntry(1, "new");
              }),
              0);
    EXPECT_GT(FailuresUntilEnoughMemory([&](int limit) {
                  EXPECT_FALSE(container->RemoveRemovable("new"));
                  const AllocationLimit exhausted(limit);
                  container->AppendRemovable(value, "new");
              }),
              0);
}

TEST_F(ContainerFailures, RemovingNeedsNoMemory) {
    const std::string key = "old";
    const std::size_t before = Allocations();
    const bool entry = container->RemoveEntry(key);
    const bool list = container->RemoveRemovable(key);
    EXPECT_EQ(Allocations(), before);
    EXPECT_TRUE(entry);
    EXPECT_TRUE(list);
}

} // namespace
