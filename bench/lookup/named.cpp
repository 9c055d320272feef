#include <kq/ioc/container.h>

#include "lookup/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <windows.h>

#include <any>
#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>

namespace bench {

namespace {

constexpr std::size_t lookUpsPerRound = 50'000;

/// The platform's lock, with the names that `std::lock_guard` wants.
class SlimLock {
public:
    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

/// What one writes without a container: copies go out, as the lock is not held for longer.
template <class Lock>
class LockedMap {
public:
    void SetEntry(std::any value, const std::string& key) {
        const std::lock_guard<Lock> lock(lock_);
        values_[key] = std::move(value);
    }
    std::any GetEntry(const std::string& key) const {
        const std::lock_guard<Lock> lock(lock_);
        const auto found = values_.find(key);
        return found == values_.end() ? std::any() : found->second;
    }

private:
    mutable Lock lock_;
    std::unordered_map<std::string, std::any> values_;
};

template <class Map>
double CostOf(const Map& map, const std::string& key) {
    std::size_t sum = 0;
    const Stopwatch watch;
    for (std::size_t i = 0; i != lookUpsPerRound; ++i)
        sum += static_cast<std::size_t>(std::any_cast<int>(map.GetEntry(key)));
    const double cost = watch.NanosecondsPer(lookUpsPerRound);
    Require(sum == lookUpsPerRound, "the values that were found");
    return cost;
}

template <class Map>
void Fill(Map& map, const std::string& key) {
    for (int i = 0; i != 100; ++i)
        map.SetEntry(0, "service number " + std::to_string(i));
    map.SetEntry(1, key);
}

} // namespace

void Named() {
    const std::string key = "service number 42";
    const auto container = kq::IoC::CreateContainer();
    LockedMap<SlimLock> slim;
    LockedMap<std::mutex> standard;
    Fill(*container, key);
    Fill(slim, key);
    Fill(standard, key);
    Row row("Look up one of 100 entries by its key", "ns");
    row.Enter("kq IContainer::GetEntry", [&] { return CostOf(*container, key); });
    row.EnterPeer("std::unordered_map under an SRWLOCK", [&] { return CostOf(slim, key); });
    row.EnterPeer("std::unordered_map under a std::mutex", [&] { return CostOf(standard, key); });
    row.AimAtMostTimes(1);
    Measure({&row}, 51);
    row.Report();
}

} // namespace bench
