#include <kq/type/type_keyed_map.h>

#include "support/on_destruction.h"
#include "support/thrown.h"
#include "support/tracked_value.h"

#include <gtest/gtest.h>

#include <any>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <utility>

using kq::type::TypeKeyedMap;
using kq_test::FailingCopies;
using kq_test::TrackedValue;

namespace {

/// A type for each number.
template <std::size_t>
struct Numbered {
    std::size_t value = 0;
};

template <std::size_t... Numbers>
void SetAll(TypeKeyedMap& map, std::index_sequence<Numbers...> /*numbers*/) {
    (map.Set(Numbered<Numbers>{Numbers}), ...);
}

template <std::size_t... Numbers>
bool HoldsAll(const TypeKeyedMap& map, std::index_sequence<Numbers...> /*numbers*/) {
    const auto holds = [](const auto* value, std::size_t number) {
        return value != nullptr && value->value == number;
    };
    return (holds(map.Find<Numbered<Numbers>>(), Numbers) && ...);
}

std::size_t Size(const TypeKeyedMap& map) {
    std::size_t size = 0;
    map.ForEach([&size](const std::any&) { ++size; });
    return size;
}

TEST(TypeKeyedMap, FilesAValueUnderItsType) {
    TypeKeyedMap map;
    map.Set(std::any(std::string("text")));
    const std::any* const stored = map.GetAny(typeid(std::string));
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(std::any_cast<std::string>(*stored), "text");
}

TEST(TypeKeyedMap, HasNoValueOfATypeThatWasNeverSet) {
    TypeKeyedMap map;
    EXPECT_EQ(map.GetAny(typeid(int)), nullptr);
    map.Set(std::any(1L));
    EXPECT_EQ(map.GetAny(typeid(int)), nullptr);
    EXPECT_EQ(map.GetAny(typeid(void)), nullptr);
}

TEST(TypeKeyedMap, KeepsTheFirstValueOfAType) {
    TypeKeyedMap map;
    map.Set(std::any(1));
    map.Set(std::any(2));
    EXPECT_EQ(std::any_cast<int>(*map.GetAny(typeid(int))), 1);
    EXPECT_EQ(Size(map), 1u);
}

TEST(TypeKeyedMap, AValueThatComesTooLateIsNotEvenCopied) {
    TypeKeyedMap map;
    map.Set(std::any(std::in_place_type<TrackedValue>, 1));
    const std::any second(std::in_place_type<TrackedValue>, 2);
    const int before = TrackedValue::copies();
    map.Set(second);
    EXPECT_EQ(TrackedValue::copies(), before);
}

TEST(TypeKeyedMap, KeepsTypesApartThatConvertToEachOther) {
    TypeKeyedMap map;
    map.Set(std::any(1));
    map.Set(std::any(2L));
    EXPECT_EQ(std::any_cast<int>(*map.GetAny(typeid(int))), 1);
    EXPECT_EQ(std::any_cast<long>(*map.GetAny(typeid(long))), 2L);
    EXPECT_EQ(Size(map), 2u);
}

TEST(TypeKeyedMap, FilesAnEmptyValueUnderVoid) {
    TypeKeyedMap map;
    map.Set(std::any());
    map.Set(std::any());
    const std::any* const stored = map.GetAny(typeid(void));
    ASSERT_NE(stored, nullptr);
    EXPECT_FALSE(stored->has_value());
    EXPECT_EQ(Size(map), 1u);
}

TEST(TypeKeyedMap, TakesAPlainValue) {
    TypeKeyedMap map;
    map.Set(1.5);
    map.Set(std::string("text"));
    EXPECT_EQ(*map.Find<double>(), 1.5);
    EXPECT_EQ(*map.Find<std::string>(), "text");
}

TEST(TypeKeyedMap, OneThatIsNotConstStillOnlyShowsItsValues) {
    TypeKeyedMap map;
    map.Set(1);
    static_assert(std::is_same_v<decltype(map.GetAny(typeid(int))), const std::any*>);
    static_assert(std::is_same_v<decltype(std::as_const(map).Find<int>()), const int*>);
    EXPECT_EQ(map.GetAny(typeid(int)), std::as_const(map).GetAny(typeid(int)));
}

TEST(TypeKeyedMap, AFoundValueCanBeReplaced) {
    TypeKeyedMap map;
    map.Set(std::string("first"));
    EXPECT_EQ(map.Find<int>(), nullptr);
    *map.Find<std::string>() = "second";
    EXPECT_EQ(*std::as_const(map).Find<std::string>(), "second");
    EXPECT_EQ(std::as_const(map).Find<int>(), nullptr);
}

TEST(TypeKeyedMap, HoldsManyTypesAndKeepsTheirPlaces) {
    using Numbers = std::make_index_sequence<200>;
    TypeKeyedMap map;
    map.Set(std::string("first of all"));
    const std::string* const place = map.Find<std::string>();
    SetAll(map, Numbers());
    EXPECT_TRUE(HoldsAll(map, Numbers()));
    EXPECT_EQ(map.Find<std::string>(), place);
    EXPECT_EQ(Size(map), 201u);
}

TEST(TypeKeyedMap, VisitsEachValueOnce) {
    TypeKeyedMap map;
    map.Set(1);
    map.Set(2L);
    map.Set(std::any());
    map.Set(std::string("text"));
    std::multiset<std::type_index> visited;
    map.ForEach([&](const std::any& value) {
        visited.insert(value.type());
        EXPECT_EQ(&value, map.GetAny(value.type())) << "the value itself, not a copy";
    });
    EXPECT_EQ(visited, (std::multiset<std::type_index>{typeid(int), typeid(long), typeid(void),
                                                       typeid(std::string)}));
}

TEST(TypeKeyedMap, NeedsNobodyToVisitNothing) {
    const TypeKeyedMap empty;
    EXPECT_NO_THROW(empty.ForEach(nullptr));
    TypeKeyedMap map;
    map.Set(1);
    EXPECT_THROW(map.ForEach(nullptr), std::bad_function_call);
}

TEST(TypeKeyedMap, AVisitThatThrowsIsTheLast) {
    TypeKeyedMap map;
    map.Set(1);
    map.Set(2L);
    int visits = 0;
    const auto visit = [&visits](const std::any&) {
        ++visits;
        throw std::out_of_range("enough");
    };
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { map.ForEach(visit); }), "enough");
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(Size(map), 2u);
}

TEST(TypeKeyedMap, ACopyIsIndependentOfItsSource) {
    TypeKeyedMap source;
    source.Set(1);
    TypeKeyedMap copy = source;
    source.Set(2L);
    copy.Set(std::string("copy"));
    *copy.Find<int>() = 5;
    EXPECT_EQ(*source.Find<int>(), 1);
    EXPECT_EQ(source.Find<std::string>(), nullptr);
    EXPECT_EQ(copy.Find<long>(), nullptr);
    EXPECT_EQ(*copy.Find<int>(), 5);
}

TEST(TypeKeyedMap, AnAssignedMapHasTheValuesOfTheOtherOnly) {
    TypeKeyedMap source;
    source.Set(1);
    source.Set(std::any());
    TypeKeyedMap target;
    target.Set(2);
    target.Set(std::string("gone"));
    target = source;
    EXPECT_EQ(*target.Find<int>(), 1);
    EXPECT_NE(target.GetAny(typeid(void)), nullptr);
    EXPECT_EQ(target.Find<std::string>(), nullptr);
    source.Set(3L);
    EXPECT_EQ(target.Find<long>(), nullptr);
}

TEST(TypeKeyedMap, AssigningAMapToItselfDoesNothing) {
    TypeKeyedMap map;
    map.Set(TrackedValue(4));
    const TrackedValue* const place = map.Find<TrackedValue>();
    const int before = TrackedValue::copies();
    const TypeKeyedMap& same = map;
    map = same;
    EXPECT_EQ(TrackedValue::copies(), before);
    EXPECT_EQ(map.Find<TrackedValue>(), place);
}

TEST(TypeKeyedMap, DestroysItsValues) {
    const int before = TrackedValue::living();
    {
        TypeKeyedMap map;
        map.Set(TrackedValue(1));
        const TypeKeyedMap copy = map;
        EXPECT_EQ(TrackedValue::living(), before + 2);
        map = TypeKeyedMap();
        EXPECT_EQ(TrackedValue::living(), before + 1);
    }
    EXPECT_EQ(TrackedValue::living(), before);
}

TEST(TypeKeyedMap, TheEndOfAReplacedValueFindsTheNewMap) {
    TypeKeyedMap source;
    source.Set(7);
    TypeKeyedMap map;
    int seen = 0;
    map.Set(kq_test::OnDestruction([&] { seen = *map.Find<int>(); }));
    map = source;
    EXPECT_EQ(seen, 7);
}

TEST(TypeKeyedMap, ASetThatThrowsLeavesNothingBehind) {
    TypeKeyedMap map;
    map.Set(1);
    const std::any value(std::in_place_type<TrackedValue>, 8);
    {
        const FailingCopies failing;
        EXPECT_EQ(ThrownText<std::domain_error>([&] { map.Set(value); }), "no copy");
    }
    EXPECT_EQ(map.GetAny(typeid(TrackedValue)), nullptr);
    EXPECT_EQ(Size(map), 1u);
    map.Set(value);
    ASSERT_NE(map.Find<TrackedValue>(), nullptr);
    EXPECT_EQ(map.Find<TrackedValue>()->Number(), 8);
}

TEST(TypeKeyedMap, ACopyThatThrowsLeavesBothMapsAsTheyWere) {
    TypeKeyedMap source;
    source.Set(TrackedValue(1));
    source.Set(std::string("source"));
    TypeKeyedMap target;
    target.Set(2);
    const int before = TrackedValue::living();
    {
        const FailingCopies failing;
        EXPECT_EQ(ThrownText<std::domain_error>([&] { target = source; }), "no copy");
        EXPECT_EQ(ThrownText<std::domain_error>([&] { TypeKeyedMap{source}; }), "no copy");
    }
    EXPECT_EQ(TrackedValue::living(), before);
    EXPECT_EQ(Size(target), 1u);
    EXPECT_EQ(*target.Find<int>(), 2);
    EXPECT_EQ(Size(source), 2u);
    EXPECT_EQ(source.Find<TrackedValue>()->Number(), 1);
}

} // namespace
