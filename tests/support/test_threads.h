// Thread factories for pools under test.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include "support/hand_shake.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace kq_test {

/// A pool thread made of the standard library's.
class StandardThread final : public kq::concurrency::CThread {
public:
    explicit StandardThread(const kq::concurrency::Job& function)
        : thread_([this, function] {
              function();
              finished_.Set();
          }) {}
    ~StandardThread() override { thread_.join(); }

    void Wait() const override { finished_.Wait("the end of a pool thread"); }
    bool IsFinished() const override { return finished_.IsSet(); }

private:
    Event finished_;
    std::thread thread_;
};

/// Makes the threads of a pool, counts how often it was asked, and fails when a test wants that.
/// Outlives the pool.
class TestFactory {
public:
    /// Tells whether the thread of the given call, counted from 1, can be made. Called on the
    /// thread that asks the factory; may also throw.
    using Decision = std::function<bool(std::size_t)>;

    explicit TestFactory(Decision decision = [](std::size_t) { return true; })
        : decision_(std::move(decision)) {}
    TestFactory(const TestFactory&) = delete;
    TestFactory& operator=(const TestFactory&) = delete;

    kq::concurrency::ThreadFactory Function() {
        return
            [this](
                const kq::concurrency::Job& function) -> std::unique_ptr<kq::concurrency::CThread> {
                if (!decision_(CountCall()))
                    return nullptr;
                return std::make_unique<StandardThread>(function);
            };
    }

    std::size_t Calls() const {
        const std::lock_guard guard(mutex_);
        return calls_;
    }

private:
    std::size_t CountCall() {
        const std::lock_guard guard(mutex_);
        return ++calls_;
    }

    const Decision decision_;
    mutable std::mutex mutex_;
    std::size_t calls_ = 0;
};

} // namespace kq_test
