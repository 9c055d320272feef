#include <windows.h>

#include <kq/com/com_usage.h>

#include "support/handle_level.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <type_traits>

using kq::com::ComUsage;

namespace {

constexpr int rounds = 10'000;

// The apartment of this thread; -2 when COM is not initialised.
int Apartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return CoGetApartmentType(&type, &qualifier) == S_OK ? int{type} : -2;
}

constexpr int noApartment = -2;

bool IsSingleThreaded() {
    const int apartment = Apartment();
    return apartment == APTTYPE_STA || apartment == APTTYPE_MAINSTA;
}

TEST(ComUsage, IsNeitherCopiedNorAbleToThrow) {
    static_assert(!std::is_copy_constructible_v<ComUsage> && !std::is_copy_assignable_v<ComUsage>);
    static_assert(std::is_nothrow_default_constructible_v<ComUsage>);
    static_assert(std::is_nothrow_constructible_v<ComUsage, unsigned long>);
}

TEST(ComUsage, InitialisesAMultithreadedApartmentByDefault) {
    ASSERT_EQ(Apartment(), noApartment);
    {
        const ComUsage usage;
        EXPECT_EQ(Apartment(), APTTYPE_MTA);
    }
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, InitialisesTheApartmentAskedFor) {
    {
        const ComUsage usage(COINIT_APARTMENTTHREADED);
        EXPECT_TRUE(IsSingleThreaded());
    }
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, UninitialisesOnceEachWhenNested) {
    {
        const ComUsage outer(COINIT_APARTMENTTHREADED);
        {
            const ComUsage inner(COINIT_APARTMENTTHREADED);
            EXPECT_TRUE(IsSingleThreaded());
        }
        EXPECT_TRUE(IsSingleThreaded());
        {
            const ComUsage inner(COINIT_APARTMENTTHREADED);
            EXPECT_TRUE(IsSingleThreaded());
        }
        EXPECT_TRUE(IsSingleThreaded());
    }
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, UninitialisesAlsoWhatWasInitialisedBefore) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    { const ComUsage usage(COINIT_APARTMENTTHREADED); }
    EXPECT_TRUE(IsSingleThreaded());
    CoUninitialize();
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, LeavesAThreadInItsOtherApartment) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    {
        const ComUsage usage(COINIT_MULTITHREADED);
        EXPECT_TRUE(IsSingleThreaded());
    }
    EXPECT_TRUE(IsSingleThreaded());
    CoUninitialize();
    EXPECT_EQ(Apartment(), noApartment);

    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        const ComUsage usage(COINIT_APARTMENTTHREADED);
        EXPECT_EQ(Apartment(), APTTYPE_MTA);
    }
    EXPECT_EQ(Apartment(), APTTYPE_MTA);
    CoUninitialize();
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, TakesFlagsThatThePlatformRefuses) {
    { const ComUsage usage(0xffffffff); }
    EXPECT_EQ(Apartment(), noApartment);
}

TEST(ComUsage, LeaksNothing) {
    const auto useAll = [] {
        const ComUsage outer(COINIT_APARTMENTTHREADED);
        const ComUsage inner(COINIT_APARTMENTTHREADED);
        const ComUsage other(COINIT_MULTITHREADED);
    };
    useAll();
    const auto before = HandleLevel();
    for (int round = 0; round != rounds; ++round)
        useAll();
    EXPECT_EQ(HandleLevel(), before);
    EXPECT_EQ(Apartment(), noApartment);
}

} // namespace
