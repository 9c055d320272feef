#include <kq/ioc/container.h>

#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <any>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using kq::IoC::ContainerIncident;
using kq::IoC::CreateContainer;
using kq::IoC::IContainer;

namespace {

/// The numbers in a list of them.
std::vector<int> Numbers(const std::vector<std::any>& values) {
    std::vector<int> numbers;
    numbers.reserve(values.size());
    for (const std::any& value : values)
        numbers.push_back(std::any_cast<int>(value));
    return numbers;
}

/// One kind of list.
struct ListKind {
    const char* name;
    void (IContainer::*append)(std::any const&, std::string const&);
    std::vector<std::any> (IContainer::*get)(std::string const&) const;
};

constexpr ListKind fixedLists = {"fixed", &IContainer::AppendFixed, &IContainer::GetFixed};
constexpr ListKind removableLists = {"removable", &IContainer::AppendRemovable,
                                     &IContainer::GetRemovable};
constexpr ListKind localLists = {"local", &IContainer::AppendLocal, &IContainer::GetLocal};

void PrintTo(const ListKind& kind, std::ostream* stream) { *stream << kind.name; }

class ContainerLists : public testing::TestWithParam<ListKind> {
protected:
    void Append(int value, const std::string& key) {
        ((*container).*GetParam().append)(value, key);
    }
    std::vector<int> Get(const std::string& key) const {
        return Numbers(((*container).*GetParam().get)(key));
    }

    const std::unique_ptr<IContainer> container = CreateContainer();
};

INSTANTIATE_TEST_SUITE_P(, ContainerLists, testing::Values(fixedLists, removableLists, localLists),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(ContainerLists, KeepTheOrderOfAppending) {
    for (int i = 0; i != 100; ++i)
        Append(i, "key");
    std::vector<int> expected(100);
    for (std::size_t i = 0; i != expected.size(); ++i)
        expected[i] = static_cast<int>(i);
    EXPECT_EQ(Get("key"), expected);
}

TEST_P(ContainerLists, AreKeptApartByKey) {
    Append(1, "a");
    Append(2, "b");
    Append(3, "a");
    Append(4, "");
    EXPECT_EQ(Get("a"), (std::vector<int>{1, 3}));
    EXPECT_EQ(Get("b"), (std::vector<int>{2}));
    EXPECT_EQ(Get(""), (std::vector<int>{4}));
}

TEST_P(ContainerLists, AreEmptyUnderAnUnknownKey) {
    Append(1, "key");
    EXPECT_TRUE(Get("other").empty());
    EXPECT_TRUE(Get("other").empty()) << "asking makes no list";
}

TEST_P(ContainerLists, HaveNothingToDoWithTheOtherTables) {
    Append(1, "key");
    for (const ListKind& kind : {fixedLists, removableLists, localLists})
        if (kind.name != GetParam().name) {
            EXPECT_TRUE(((*container).*kind.get)("key").empty()) << kind.name;
        }
    EXPECT_FALSE(container->GetEntry("key").has_value());
    EXPECT_FALSE(container->RemoveEntry("key"));
}

TEST_P(ContainerLists, MayHoldEmptyValuesAndValuesOfAnyType) {
    const ListKind& kind = GetParam();
    ((*container).*kind.append)(std::any(), "key");
    ((*container).*kind.append)(std::string("text"), "key");
    ((*container).*kind.append)(1.5, "key");
    const std::vector<std::any> values = ((*container).*kind.get)("key");
    ASSERT_EQ(values.size(), 3u);
    EXPECT_FALSE(values[0].has_value());
    EXPECT_EQ(std::any_cast<std::string>(values[1]), "text");
    EXPECT_EQ(std::any_cast<double>(values[2]), 1.5);
}

TEST(Container, ReturnsAnEntry) {
    const auto container = CreateContainer();
    container->SetEntry(std::string("value"), "key");
    EXPECT_EQ(std::any_cast<std::string>(container->GetEntry("key")), "value");
}

TEST(Container, HasAnEmptyValueUnderAnUnknownKey) {
    const auto container = CreateContainer();
    container->SetEntry(1, "key");
    EXPECT_FALSE(container->GetEntry("other").has_value());
    EXPECT_FALSE(container->RemoveEntry("other")) << "asking makes no entry";
}

TEST(Container, KeepsTheLastValueOfAnEntry) {
    const auto container = CreateContainer();
    container->SetEntry(1, "key");
    container->SetEntry(std::string("second"), "key");
    EXPECT_EQ(std::any_cast<std::string>(container->GetEntry("key")), "second");
    EXPECT_TRUE(container->RemoveEntry("key"));
    EXPECT_FALSE(container->GetEntry("key").has_value()) << "the first one does not come back";
}

TEST(Container, AnEntryMayBeEmpty) {
    const auto container = CreateContainer();
    container->SetEntry(std::any(), "key");
    EXPECT_FALSE(container->GetEntry("key").has_value());
    EXPECT_TRUE(container->RemoveEntry("key")) << "it was there all the same";
}

TEST(Container, RemovesAnEntryOnce) {
    const auto container = CreateContainer();
    container->SetEntry(1, "key");
    container->SetEntry(2, "other");
    EXPECT_TRUE(container->RemoveEntry("key"));
    EXPECT_FALSE(container->RemoveEntry("key"));
    EXPECT_EQ(std::any_cast<int>(container->GetEntry("other")), 2);
}

TEST(Container, RemovesAWholeRemovableList) {
    const auto container = CreateContainer();
    container->AppendRemovable(1, "key");
    container->AppendRemovable(2, "key");
    container->AppendFixed(3, "key");
    EXPECT_FALSE(container->RemoveRemovable("other"));
    EXPECT_TRUE(container->RemoveRemovable("key"));
    EXPECT_FALSE(container->RemoveRemovable("key"));
    EXPECT_TRUE(container->GetRemovable("key").empty());
    EXPECT_EQ(Numbers(container->GetFixed("key")), (std::vector<int>{3}));
    container->AppendRemovable(4, "key");
    EXPECT_EQ(Numbers(container->GetRemovable("key")), (std::vector<int>{4}));
}

TEST(Container, HandsOutCopies) {
    const auto container = CreateContainer();
    container->SetEntry(std::string("entry"), "key");
    container->AppendFixed(std::string("fixed"), "key");
    std::any entry = container->GetEntry("key");
    std::vector<std::any> list = container->GetFixed("key");
    std::any_cast<std::string&>(entry) = "changed";
    std::any_cast<std::string&>(list.front()) = "changed";
    list.emplace_back(1);
    EXPECT_EQ(std::any_cast<std::string>(container->GetEntry("key")), "entry");
    ASSERT_EQ(container->GetFixed("key").size(), 1u);
    EXPECT_EQ(std::any_cast<std::string>(container->GetFixed("key").front()), "fixed");
    container->SetEntry(2, "key");
    EXPECT_EQ(std::any_cast<std::string>(entry), "changed");
}

TEST(Container, ACloneHasEverythingButTheLocalLists) {
    const auto container = CreateContainer();
    container->SetEntry(1, "key");
    container->AppendFixed(2, "key");
    container->AppendRemovable(3, "key");
    container->AppendLocal(4, "key");
    const auto clone = container->Clone();
    EXPECT_EQ(std::any_cast<int>(clone->GetEntry("key")), 1);
    EXPECT_EQ(Numbers(clone->GetFixed("key")), (std::vector<int>{2}));
    EXPECT_EQ(Numbers(clone->GetRemovable("key")), (std::vector<int>{3}));
    EXPECT_TRUE(clone->GetLocal("key").empty());
    EXPECT_EQ(Numbers(container->GetLocal("key")), (std::vector<int>{4}));
}

TEST(Container, ACloneIsIndependent) {
    const auto container = CreateContainer();
    container->SetEntry(1, "key");
    container->AppendFixed(1, "key");
    container->AppendRemovable(1, "key");
    const auto clone = container->Clone();

    clone->SetEntry(2, "key");
    clone->AppendFixed(2, "key");
    clone->RemoveRemovable("key");
    clone->AppendLocal(2, "key");
    EXPECT_EQ(std::any_cast<int>(container->GetEntry("key")), 1);
    EXPECT_EQ(Numbers(container->GetFixed("key")), (std::vector<int>{1}));
    EXPECT_EQ(Numbers(container->GetRemovable("key")), (std::vector<int>{1}));
    EXPECT_TRUE(container->GetLocal("key").empty());

    container->RemoveEntry("key");
    container->AppendFixed(3, "key");
    container->AppendRemovable(3, "key");
    EXPECT_EQ(std::any_cast<int>(clone->GetEntry("key")), 2);
    EXPECT_EQ(Numbers(clone->GetFixed("key")), (std::vector<int>{1, 2}));
    EXPECT_TRUE(clone->GetRemovable("key").empty());
}

TEST(Container, ACloneOutlivesItsSource) {
    auto container = CreateContainer();
    container->SetEntry(std::string("value"), "key");
    const auto clone = container->Clone();
    container.reset();
    EXPECT_EQ(std::any_cast<std::string>(clone->GetEntry("key")), "value");
}

TEST(Container, TheEndOfAReplacedOrRemovedValueMayUseTheContainer) {
    const auto container = CreateContainer();
    int ends = 0;
    // Held by the container alone.
    const auto value = [&] {
        return kq_test::OnDestruction([&] {
            ++ends;
            container->SetEntry(ends, "ended");
        });
    };
    container->SetEntry(value(), "key");
    EXPECT_EQ(ends, 0);
    container->SetEntry(1, "key");
    EXPECT_EQ(ends, 1);
    container->SetEntry(value(), "key");
    container->RemoveEntry("key");
    EXPECT_EQ(ends, 2);
    container->AppendRemovable(value(), "key");
    container->AppendRemovable(value(), "key");
    container->RemoveRemovable("key");
    EXPECT_EQ(ends, 4);
    EXPECT_EQ(std::any_cast<int>(container->GetEntry("ended")), 4);
}

TEST(Container, DestroysEntriesAndFixedListsBeforeTheRest) {
    std::string order;
    auto container = CreateContainer();
    const auto value = [&order](const char* name) {
        return kq_test::OnDestruction([&order, name] { order += name; });
    };
    container->AppendLocal(value("local "), "key");
    container->AppendRemovable(value("removable "), "key");
    container->AppendFixed(value("fixed "), "key");
    container->SetEntry(value("entry "), "key");
    container.reset();
    EXPECT_EQ(order.substr(0, 12), "entry fixed ");
    EXPECT_NE(order.find("local "), std::string::npos);
    EXPECT_NE(order.find("removable "), std::string::npos);
}

TEST(Container, TheEndOfItsEntriesMayUseIt) {
    auto owner = CreateContainer();
    IContainer& container = *owner;
    std::string seen;
    container.AppendRemovable(1, "key");
    container.AppendFixed(2, "key");
    const auto listening = container.ConnectIncidents(
        [&seen](const ContainerIncident& incident) { seen += incident.message; });
    container.SetEntry(kq_test::OnDestruction([&] {
                           seen += container.GetEntry("key").has_value() ? "entry " : "no entry ";
                           seen += std::to_string(container.GetFixed("key").size()) + " fixed ";
                           seen += container.RemoveRemovable("key") ? "removed " : "nothing ";
                           container.ReportIncident({"key", "reported", {}});
                       }),
                       "key");
    owner.reset();
    EXPECT_EQ(seen, "no entry 0 fixed removed reported");
}

} // namespace

namespace container_slots {

/// The operations of `IContainer` in the order that binaries were built against.
class InOrder {
public:
    virtual ~InOrder() = default;
    virtual kq::signal::Connection ConnectIncidents(
        std::function<void(ContainerIncident)> listener) = 0;
    virtual std::unique_ptr<IContainer> Clone() const = 0;
    virtual void AppendFixed(std::any const& value, std::string const& key) = 0;
    virtual void SetEntry(std::any value, std::string const& key) = 0;
    virtual std::vector<std::any> GetFixed(std::string const& key) const = 0;
    virtual std::any GetEntry(std::string const& key) const = 0;
    virtual bool RemoveEntry(std::string const& key) = 0;
    virtual void AppendRemovable(std::any const& value, std::string const& key) = 0;
    virtual std::vector<std::any> GetRemovable(std::string const& key) const = 0;
    virtual bool RemoveRemovable(std::string const& key) = 0;
    virtual void AppendLocal(std::any const& value, std::string const& key) = 0;
    virtual std::vector<std::any> GetLocal(std::string const& key) const = 0;
    virtual void ReportIncident(ContainerIncident const& incident) = 0;
};

TEST(Container, KeepsTheOrderOfItsOperations) {
    bool ended = false;
    InOrder* const container = reinterpret_cast<InOrder*>(CreateContainer().release());
    std::string heard;
    const auto listening = container->ConnectIncidents(
        [&heard](const ContainerIncident& incident) { heard += incident.message; });
    container->AppendFixed(1, "fixed");
    container->SetEntry(2, "entry");
    container->AppendRemovable(3, "removable");
    container->AppendLocal(4, "local");
    container->SetEntry(kq_test::OnDestruction([&ended] { ended = true; }), "end");

    EXPECT_EQ(Numbers(container->GetFixed("fixed")), (std::vector<int>{1}));
    EXPECT_EQ(std::any_cast<int>(container->GetEntry("entry")), 2);
    EXPECT_EQ(Numbers(container->GetRemovable("removable")), (std::vector<int>{3}));
    EXPECT_EQ(Numbers(container->GetLocal("local")), (std::vector<int>{4}));
    container->ReportIncident({"key", "incident", {}});
    EXPECT_EQ(heard, "incident");
    {
        const std::unique_ptr<IContainer> clone = container->Clone();
        EXPECT_EQ(Numbers(clone->GetFixed("fixed")), (std::vector<int>{1}));
        EXPECT_TRUE(clone->GetLocal("local").empty());
    }
    EXPECT_FALSE(container->RemoveEntry("removable"));
    EXPECT_TRUE(container->RemoveEntry("entry"));
    EXPECT_FALSE(container->RemoveRemovable("entry"));
    EXPECT_TRUE(container->RemoveRemovable("removable"));
    EXPECT_FALSE(ended);
    delete container;
    EXPECT_TRUE(ended);
}

} // namespace container_slots
