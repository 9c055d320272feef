#include <kq/ioc/container.h>

#include "support/seed.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <any>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using kq::IoC::ContainerIncident;
using kq::IoC::CreateContainer;
using kq::IoC::IContainer;

namespace {

constexpr std::uint32_t threadCount = 4;
constexpr int rounds = 10'000;

/// A value that shows when it was copied while it changed, and who stored it when.
struct Value {
    Value(std::uint32_t thread, int number) : owner(thread), numbers(8, number) {}

    bool IsWhole() const {
        return numbers.size() == 8 && numbers == std::vector<int>(8, numbers.front());
    }

    std::uint32_t owner;
    std::vector<int> numbers;
};

/// Counts the values of a list by who appended them; false when the values of one thread are not
/// whole or not in the order in which it appended them.
bool IsInOrder(const std::vector<std::any>& list, std::vector<int>& counts) {
    std::vector<int> last(threadCount, -1);
    for (const std::any& any : list) {
        const auto& value = std::any_cast<const Value&>(any);
        if (!value.IsWhole() || value.numbers.front() <= last[value.owner])
            return false;
        last[value.owner] = value.numbers.front();
        ++counts[value.owner];
    }
    return true;
}

/// What one thread does to the container, and what it has seen.
class User {
public:
    User(IContainer& container, std::uint32_t thread, std::uint32_t seed)
        : container_(container), thread_(thread), random_(seed, thread) {}

    void Run() {
        const auto listening =
            container_.ConnectIncidents([this](const ContainerIncident& incident) {
                wrong += incident.message == "incident" ? 0 : 1;
            });
        for (int round = 0; round != rounds; ++round)
            Step(round);
    }

    std::atomic<int> wrong{0};
    int fixed = 0;
    int local = 0;

private:
    void Step(int round) {
        const std::string key = random_.OneIn(2) ? "a" : "b";
        switch (random_.Below(10)) {
            case 0:
                container_.SetEntry(Value(thread_, round), key);
                break;
            case 1:
                container_.RemoveEntry(key);
                break;
            case 2:
                container_.AppendRemovable(Value(thread_, round), key);
                break;
            case 3:
                container_.RemoveRemovable(key);
                break;
            case 4:
                AppendToAFewOfEach(round);
                break;
            case 5:
                Require(container_.GetEntry(key));
                break;
            case 6:
                Require(container_.GetRemovable(key));
                break;
            case 7:
                Require(container_.GetFixed("fixed"));
                break;
            case 8:
                RequireClone(key);
                break;
            default:
                container_.ReportIncident({key, "incident", {}});
        }
    }

    /// Lists that cannot be removed stay short enough to be copied often.
    void AppendToAFewOfEach(int round) {
        if (!random_.OneIn(10))
            return;
        container_.AppendFixed(Value(thread_, round), "fixed");
        ++fixed;
        container_.AppendLocal(Value(thread_, round), "local");
        ++local;
    }

    void Require(const std::any& entry) {
        const auto* const value = std::any_cast<Value>(&entry);
        wrong += value == nullptr || value->IsWhole() ? 0 : 1;
    }

    void Require(const std::vector<std::any>& list) {
        std::vector<int> counts(threadCount, 0);
        wrong += IsInOrder(list, counts) ? 0 : 1;
    }

    void RequireClone(const std::string& key) {
        const std::unique_ptr<IContainer> clone = container_.Clone();
        Require(clone->GetEntry(key));
        Require(clone->GetRemovable(key));
        std::vector<int> counts(threadCount, 0);
        wrong += IsInOrder(clone->GetFixed("fixed"), counts) ? 0 : 1;
        wrong += counts[thread_] == fixed ? 0 : 1; // this thread's own are all there
        wrong += clone->GetLocal("local").empty() ? 0 : 1;
    }

    IContainer& container_;
    const std::uint32_t thread_;
    kq_test::Random random_;
};

TEST(ContainerStress, ThreadsSeeOnlyWholeStates) {
    const std::uint32_t seed = kq_test::Seed();
    const auto container = CreateContainer();
    std::deque<User> users;
    for (std::uint32_t thread = 0; thread != threadCount; ++thread)
        users.emplace_back(*container, thread, seed);
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (User& user : users)
        threads.emplace_back([&user] { user.Run(); });
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> fixed(threadCount, 0);
    std::vector<int> local(threadCount, 0);
    EXPECT_TRUE(IsInOrder(container->GetFixed("fixed"), fixed));
    EXPECT_TRUE(IsInOrder(container->GetLocal("local"), local));
    for (std::uint32_t thread = 0; thread != threadCount; ++thread) {
        EXPECT_EQ(users[thread].wrong, 0);
        EXPECT_GT(users[thread].fixed, 0);
        EXPECT_EQ(fixed[thread], users[thread].fixed);
        EXPECT_EQ(local[thread], users[thread].local);
    }
    kq_test::ReportStress(rounds, 0);
}

TEST(ContainerStress, EachListIsRemovedByOneThread) {
    constexpr int tokens = 100;
    const auto container = CreateContainer();
    for (int token = 0; token != tokens; ++token)
        container->AppendRemovable(token, "token " + std::to_string(token));
    std::vector<int> taken(threadCount, 0);
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int& own : taken)
        threads.emplace_back([&container, &own] {
            for (int token = 0; token != tokens; ++token)
                own += container->RemoveRemovable("token " + std::to_string(token)) ? 1 : 0;
        });
    for (std::thread& thread : threads)
        thread.join();
    int sum = 0;
    for (const int own : taken)
        sum += own;
    EXPECT_EQ(sum, tokens);
}

} // namespace
