// A value whose copies and end can be seen, and made to fail.
#pragma once

#include <stdexcept>

namespace kq_test {

/// Counts the copies that were made and the values that live; throws from the copy constructor when
/// it is told to. The counts belong to the tests of one thread.
class TrackedValue {
public:
    explicit TrackedValue(int number = 0) : number_(number) { ++living(); }
    TrackedValue(const TrackedValue& other) : number_(other.number_) {
        if (copiesUntilFailure() == 0)
            throw std::domain_error("no copy");
        --copiesUntilFailure();
        ++copies();
        ++living();
    }
    TrackedValue& operator=(const TrackedValue&) = delete;
    ~TrackedValue() { --living(); }

    int Number() const { return number_; }

    /// The copies that were made.
    static int& copies() {
        static int count = 0;
        return count;
    }
    /// The values that exist.
    static int& living() {
        static int count = 0;
        return count;
    }
    /// How many more copies succeed, until every one throws `std::domain_error("no copy")`;
    /// negative for all of them.
    static int& copiesUntilFailure() {
        static int count = -1;
        return count;
    }

private:
    int number_;
};

/// Lets copies of tracked values fail while it lives, after a number of them that succeed.
class FailingCopies {
public:
    explicit FailingCopies(int after = 0) { TrackedValue::copiesUntilFailure() = after; }
    ~FailingCopies() { TrackedValue::copiesUntilFailure() = -1; }
    FailingCopies(const FailingCopies&) = delete;
    FailingCopies& operator=(const FailingCopies&) = delete;
};

} // namespace kq_test
