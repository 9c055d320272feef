// One value of each type.
#pragma once

#include <kq/export.h>

#include <any>
#include <functional>
#include <memory>
#include <type_traits>
#include <typeindex>
#include <typeinfo>

namespace kq {
namespace type {

struct TypeKeyedMapImpl;

/// A bag that holds at most one value of each type: a value's own type is its key.
///
///     kq::type::TypeKeyedMap settings;
///     settings.Set(Zoom{1.5});
///     if (Zoom* const zoom = settings.Find<Zoom>())
///         *zoom = Zoom{2.0};
///
/// A map is used by one thread at a time. A pointer to a stored value stays valid until the map is
/// assigned to or destroyed. What the copies of stored values throw leaves the operation that
/// copies, and every map is then as it was.
class TypeKeyedMap {
public:
    /// An empty map.
    KQ_API TypeKeyedMap();
    /// Copies every value; there is no cheaper move.
    KQ_API TypeKeyedMap(const TypeKeyedMap& other);
    /// As above; all values from before are destroyed. Assigning a map to itself does nothing.
    KQ_API TypeKeyedMap& operator=(const TypeKeyedMap& other);
    /// Destroys all values.
    KQ_API ~TypeKeyedMap();

    /// Stores a copy of `value` under the type that it holds, an empty `value` under `void`. Never
    /// replaces: when there is a value of that type already, the map stays as it is and nothing is
    /// copied. To replace a value, assign to what `Find` returns. Takes a value of any copyable
    /// type, too, which becomes an `std::any`.
    KQ_API void Set(const std::any& value);

    /// The stored value of that type, or null.
    KQ_API const std::any* GetAny(const std::type_index& type) const;

    /// The stored value of type `T`, or null.
    template <class T>
    const T* Find() const {
        RequireValueType<T>();
        return std::any_cast<T>(GetAny(typeid(T)));
    }
    /// As above, for changing or replacing the value.
    template <class T>
    T* Find() {
        RequireValueType<T>();
        return std::any_cast<T>(GetMutableAny(typeid(T)));
    }

    /// Calls `visit` once with each stored value, in no particular order. An empty `visit` throws
    /// `std::bad_function_call`, unless the map is empty. `visit` must not add to the map.
    KQ_API void ForEach(const std::function<void(const std::any&)>& visit) const;

private:
    template <class T>
    static constexpr void RequireValueType() {
        static_assert(std::is_same<T, std::decay_t<T>>::value && !std::is_void<T>::value,
                      "values are stored without reference, const and volatile");
    }

    // For Find alone, and not an overload of GetAny, which would hide that one from the holder of a
    // map that is not const. The value keeps its type.
    KQ_API std::any* GetMutableAny(const std::type_index& type);

    std::unique_ptr<TypeKeyedMapImpl> impl_;
};

} // namespace type
} // namespace kq
