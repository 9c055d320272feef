#include <kq/shared_ref.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace {

struct Base {
    explicit Base(int* theEnds = nullptr) : ends(theEnds) {}
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    virtual ~Base() {
        if (ends != nullptr)
            ++*ends;
    }
    int* const ends;
};

struct Derived : Base {
    using Base::Base;
    int value = 5;
};

struct Other : Base {};

// Both pointer families have to behave alike.
struct StandardFamily {
    template <class T>
    using Ref = kq::shared_ref<T, std::shared_ptr>;
    template <class T>
    using Ptr = std::shared_ptr<T>;
};
struct BoostFamily {
    template <class T>
    using Ref = kq::shared_ref<T, boost::shared_ptr>;
    template <class T>
    using Ptr = boost::shared_ptr<T>;
};

template <class Family>
class SharedRef : public testing::Test {};
using Families = testing::Types<StandardFamily, BoostFamily>;
TYPED_TEST_SUITE(SharedRef, Families, );

TYPED_TEST(SharedRef, OwnsTheObjectThatItIsGiven) {
    int ends = 0;
    {
        const typename TypeParam::template Ref<Derived> ref(new Derived(&ends));
        EXPECT_EQ(ref->value, 5);
        EXPECT_EQ((*ref).value, 5);
        EXPECT_EQ(ref.get(), &*ref);
        EXPECT_EQ(ends, 0);
    }
    EXPECT_EQ(ends, 1);
}

TYPED_TEST(SharedRef, RefusesANullObject) {
    using Ref = typename TypeParam::template Ref<Derived>;
    EXPECT_EQ(ThrownText<std::runtime_error>([] { Ref(static_cast<Derived*>(nullptr)); }),
              "invalid shared pointer");
}

TYPED_TEST(SharedRef, RefusesANullPointer) {
    using Ref = typename TypeParam::template Ref<Derived>;
    const typename TypeParam::template Ptr<Derived> null;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Ref{null}; }), "invalid shared pointer");
    EXPECT_EQ(
        ThrownText<std::runtime_error>([&] { Ref{typename TypeParam::template Ptr<Derived>()}; }),
        "invalid shared pointer");
}

TYPED_TEST(SharedRef, SharesTheOwnershipOfAPointer) {
    using Ref = typename TypeParam::template Ref<Derived>;
    int ends = 0;
    typename TypeParam::template Ptr<Derived> pointer(new Derived(&ends));
    {
        const Ref ref(pointer);
        EXPECT_EQ(pointer.use_count(), 2);
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what counts
        const typename TypeParam::template Ptr<Derived> plain = ref;
        EXPECT_EQ(plain, pointer);
        EXPECT_EQ(pointer.use_count(), 3);
        pointer.reset();
        EXPECT_EQ(ends, 0);
    }
    EXPECT_EQ(ends, 1);
}

TYPED_TEST(SharedRef, TakesAMovedPointerWithoutAnotherReference) {
    typename TypeParam::template Ptr<Derived> pointer(new Derived);
    const typename TypeParam::template Ref<Derived> ref(std::move(pointer));
    const typename TypeParam::template Ptr<Derived>& plain = ref;
    EXPECT_EQ(plain.use_count(), 1);
}

TYPED_TEST(SharedRef, ACopyIsOneMoreOwner) {
    int ends = 0;
    auto* const first = new typename TypeParam::template Ref<Derived>(new Derived(&ends));
    const typename TypeParam::template Ref<Derived> second(*first);
    delete first;
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(second->value, 5);
}

TYPED_TEST(SharedRef, AMovedFromReferenceStillRefers) {
    using Ref = typename TypeParam::template Ref<Derived>;
    Ref first(new Derived);
    const Ref second(std::move(first));
    EXPECT_EQ(first.get(), second.get()); // NOLINT(bugprone-use-after-move): the point of the test
    Ref third(new Derived);
    third = std::move(first);
    EXPECT_EQ(first.get(), third.get()); // NOLINT(bugprone-use-after-move): the point of the test
}

TYPED_TEST(SharedRef, ConvertsToABaseAndNotBack) {
    using DerivedRef = typename TypeParam::template Ref<Derived>;
    using BaseRef = typename TypeParam::template Ref<Base>;
    const DerivedRef derived(new Derived);
    const BaseRef base = derived;
    EXPECT_EQ(base.get(), derived.get());
    static_assert(!std::is_convertible_v<BaseRef, DerivedRef>);
}

TYPED_TEST(SharedRef, IsNeverMadeFromARawPointerImplicitly) {
    using Ref = typename TypeParam::template Ref<Derived>;
    static_assert(!std::is_convertible_v<Derived*, Ref>);
    static_assert(!std::is_default_constructible_v<Ref>);
    SUCCEED();
}

TYPED_TEST(SharedRef, ADynamicCastSharesTheOwnership) {
    int ends = 0;
    {
        auto* const base = new typename TypeParam::template Ref<Base>(new Derived(&ends));
        const auto derived = kq::dynamic_reference_cast<Derived>(*base);
        delete base;
        EXPECT_EQ(ends, 0);
        EXPECT_EQ(derived->value, 5);
    }
    EXPECT_EQ(ends, 1);
}

TYPED_TEST(SharedRef, AFailedDynamicCastThrowsAndChangesNothing) {
    const typename TypeParam::template Ref<Base> base(new Derived);
    const typename TypeParam::template Ptr<Base>& plain = base;
    try {
        kq::dynamic_reference_cast<Other>(base);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::bad_cast& error) {
        EXPECT_STREQ(error.what(), "bad dynamic_reference_cast");
    }
    EXPECT_EQ(plain.use_count(), 1);
}

} // namespace
