#include <kq/singleton.h>

#include "support/seed.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace kq_test {

class Service {
public:
    explicit Service(int theNumber, std::function<void()> onEnd = {})
        : number(theNumber), onEnd_(std::move(onEnd)) {}
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() {
        if (onEnd_)
            onEnd_();
    }

    const int number;

private:
    const std::function<void()> onEnd_;
};

} // namespace kq_test

using kq_test::Service;
using Ref = kq::shared_ref<Service, std::shared_ptr>;

namespace {

// A singleton never lets go of its instance by itself.
class StandardSingleton : public testing::Test {
protected:
    ~StandardSingleton() override { service.Reset(); }

    kq::Singleton<Service, std::shared_ptr> service;
};

std::string MissingText() {
    return std::string("Singleton instance of ") + typeid(Service).name() + " does not exists!";
}

TEST_F(StandardSingleton, IsConstantInitialisedAndTriviallyDestructible) {
    using Type = kq::Singleton<Service, std::shared_ptr>;
    static constexpr Type constant;
    static_assert(std::is_trivially_destructible_v<Type>);
    EXPECT_EQ(constant.GetShared(), nullptr);
}

TEST_F(StandardSingleton, AnEmptyOneNamesTheMissingServiceOnEveryAccess) {
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { service.Get(); }), MissingText());
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { *service; }), MissingText());
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { (void)service->number; }), MissingText());
}

TEST_F(StandardSingleton, TheSharedCopyOfAnEmptyOneIsEmpty) {
    EXPECT_EQ(service.GetShared(), nullptr);
}

TEST_F(StandardSingleton, EveryAccessReachesTheInstalledInstance) {
    const auto instance = std::make_shared<Service>(1);
    service = Ref(instance);
    EXPECT_EQ(&service.Get(), instance.get());
    EXPECT_EQ(&*service, instance.get());
    EXPECT_EQ(service->number, 1);
    EXPECT_EQ(service.GetShared(), instance);
    static_assert(std::is_same_v<decltype(service.Get()), Service&>);
}

TEST_F(StandardSingleton, AReleasedOneIsEmpty) {
    service = std::make_shared<Service>(1);
    service.Reset();
    EXPECT_EQ(service.GetShared(), nullptr);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { service.Get(); }), MissingText());
    service.Reset();
}

TEST_F(StandardSingleton, AReleaseDestroysNothingThatAnotherHolderKeeps) {
    bool isDestroyed = false;
    service = std::make_shared<Service>(1, [&] { isDestroyed = true; });
    std::shared_ptr<Service> kept = service.GetShared();
    service.Reset();
    EXPECT_FALSE(isDestroyed);
    EXPECT_EQ(kept->number, 1);
    kept.reset();
    EXPECT_TRUE(isDestroyed);
}

TEST_F(StandardSingleton, TheNewInstanceIsReachableWhileThePreviousOneIsDestroyed) {
    int seen = 0;
    service = std::make_shared<Service>(1, [&] { seen = service->number; });
    service = std::make_shared<Service>(2);
    EXPECT_EQ(seen, 2);
}

TEST_F(StandardSingleton, AnInstanceThatEndsFindsTheSingletonEmptyAndMayUseIt) {
    bool wasEmpty = false;
    service = std::make_shared<Service>(1, [&] {
        wasEmpty = service.GetShared() == nullptr;
        service = std::make_shared<Service>(2);
    });
    service.Reset();
    EXPECT_TRUE(wasEmpty);
    EXPECT_EQ(service->number, 2);
}

TEST_F(StandardSingleton, InstallingTheInstanceItHoldsKeepsIt) {
    bool isDestroyed = false;
    service = std::make_shared<Service>(1, [&] { isDestroyed = true; });
    service = Ref(service.GetShared());
    EXPECT_FALSE(isDestroyed);
    EXPECT_EQ(service->number, 1);
    service.Reset();
    EXPECT_TRUE(isDestroyed);
}

TEST(BoostSingleton, HoldsAndReleasesAsTheStandardOneDoes) {
    kq::Singleton<Service, boost::shared_ptr> service;
    EXPECT_EQ(service.GetShared(), nullptr);
    bool isDestroyed = false;
    service =
        kq::shared_ref<Service, boost::shared_ptr>(new Service(1, [&] { isDestroyed = true; }));
    EXPECT_EQ(service->number, 1);
    service.Reset();
    EXPECT_TRUE(isDestroyed);
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { service.Get(); }), MissingText());
}

TEST_F(StandardSingleton, SharedCopiesMayMeetInstallsAndReleasesOnOtherThreads) {
    constexpr int rounds = 5'000;
    const std::uint32_t seed = kq_test::Seed();
    std::atomic<int> alive{0};
    std::atomic<int> wrong{0};
    std::atomic<bool> isOver{false};
    std::vector<std::thread> readers;
    for (int i = 0; i != 3; ++i)
        readers.emplace_back([&] {
            while (!isOver)
                if (const auto shared = service.GetShared(); shared && shared->number != 7)
                    ++wrong;
        });
    kq_test::Random random(seed, 0);
    for (int round = 0; round != rounds; ++round) {
        if (random.OneIn(3)) {
            service.Reset();
        } else {
            ++alive;
            service = std::make_shared<Service>(7, [&] { --alive; });
        }
    }
    isOver = true;
    for (std::thread& reader : readers)
        reader.join();
    service.Reset();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(wrong, 0);
}

} // namespace
