// A shared pointer that is never null.
#pragma once

#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace kq {

/// What `dynamic_reference_cast` throws. `what()` is "bad dynamic_reference_cast".
class bad_dynamic_reference_cast : public std::bad_cast {
public:
    /// The text.
    const char* what() const noexcept override { return "bad dynamic_reference_cast"; }
};

/// A shared reference: `Ptr<T>` (`std::shared_ptr` or `boost::shared_ptr`) that always refers to an
/// object, so that nobody who receives one has to test it.
///
/// A moved-from reference still refers to its object: a move is a copy. Copies may be used on
/// different threads at once; one and the same reference may not be assigned on one thread while
/// another uses it, as with the underlying pointer.
template <class T, template <class> class Ptr>
class shared_ref {
public:
    /// Takes ownership of `object`, which `delete` will end.
    /// Throws `std::runtime_error("invalid shared pointer")` when `object` is null. When the
    /// control block cannot be allocated, `object` is deleted and `std::bad_alloc` leaves.
    explicit shared_ref(T* object) : pointer_(object) { RequireObject(); }

    /// Shares the ownership of `pointer`.
    /// Throws `std::runtime_error("invalid shared pointer")` when `pointer` is null.
    shared_ref(const Ptr<T>& pointer) : pointer_(pointer) { RequireObject(); }
    /// As above, without touching the reference count.
    shared_ref(Ptr<T>&& pointer) : pointer_(std::move(pointer)) { RequireObject(); }

    /// Shares the ownership of `other`'s object; so do moves.
    shared_ref(const shared_ref& other) noexcept = default;
    /// As the constructor.
    shared_ref& operator=(const shared_ref& other) noexcept = default;

    /// Refers to the same object through a base.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    shared_ref(const shared_ref<U, Ptr>& other) noexcept
        : pointer_(static_cast<const Ptr<U>&>(other)) {}

    /// The object; never null.
    T* get() const noexcept { return pointer_.get(); }
    /// The object.
    T& operator*() const noexcept { return *pointer_; }
    /// The object; never null.
    T* operator->() const noexcept { return pointer_.get(); }

    /// The plain shared pointer, for code that asks for one.
    operator const Ptr<T>&() const noexcept { return pointer_; }

private:
    void RequireObject() const {
        if (!pointer_)
            throw std::runtime_error("invalid shared pointer");
    }

    Ptr<T> pointer_;
};

/// The same object as a `U`, sharing ownership with `reference`.
/// Throws `bad_dynamic_reference_cast` (a `std::bad_cast`) when the object is no `U`; `reference`
/// is not changed.
template <class U, class T, template <class> class Ptr>
shared_ref<U, Ptr> dynamic_reference_cast(const shared_ref<T, Ptr>& reference) {
    U* object = dynamic_cast<U*>(reference.get());
    if (object == nullptr)
        throw bad_dynamic_reference_cast();
    return Ptr<U>(static_cast<const Ptr<T>&>(reference), object);
}

} // namespace kq
