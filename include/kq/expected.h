// A value, or the reason why there is none.
#pragma once

#include <optional>
#include <stdexcept>
#include <utility>
#include <variant>

namespace kq {

/// The reason why there is no value; what an `expected` is made from on failure.
template <class E>
struct unexpected {
    E error; ///< the reason
};

/// An `unexpected` of the reason's own type.
template <class E>
unexpected(E) -> unexpected<E>;

/// What asking an `expected` for the value that it does not have throws: a `std::logic_error` with
/// the text "Value not available!" that carries the reason.
template <class E>
class bad_expected_access : public std::logic_error {
public:
    /// Carries `reason`.
    explicit bad_expected_access(E reason)
        : std::logic_error("Value not available!"), error_(std::move(reason)) {}

    /// The reason why there was no value. An `E` that is an `std::exception_ptr` can be rethrown.
    const E& error() const noexcept { return error_; }

private:
    E error_;
};

/// Holds either a `T` or an `E` that says why there is no `T`. A value type; not synchronised.
template <class T, class E>
class expected {
public:
    /// Holds `value`.
    expected(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    /// Holds the reason why there is no value.
    template <class G>
    expected(unexpected<G> reason) : content_(std::in_place_index<1>, std::move(reason.error)) {}

    /// True when there is a value.
    bool has_value() const noexcept { return content_.index() == 0; }
    /// As `has_value()`.
    explicit operator bool() const noexcept { return has_value(); }

    /// The value. Throws `bad_expected_access<E>` with a copy of the reason when there is none.
    const T& value() const& {
        if (!has_value())
            throw bad_expected_access<E>(error());
        return **this;
    }
    /// As above.
    T& value() & {
        if (!has_value())
            throw bad_expected_access<E>(error());
        return **this;
    }
    /// As above; moves the value, or the reason, out.
    T&& value() && {
        if (!has_value())
            throw bad_expected_access<E>(std::move(*std::get_if<1>(&content_)));
        return std::move(**this);
    }
    /// The value; there must be one.
    const T& operator*() const& noexcept { return *std::get_if<0>(&content_); }
    /// The value; there must be one.
    T& operator*() & noexcept { return *std::get_if<0>(&content_); }
    /// The reason; there must be no value.
    const E& error() const noexcept { return *std::get_if<1>(&content_); }

private:
    std::variant<T, E> content_;
};

/// Success, or an `E` that says why there was none.
template <class E>
class expected<void, E> {
public:
    /// A success.
    expected() noexcept = default;
    /// Holds the reason why there was no success.
    template <class G>
    expected(unexpected<G> reason) : error_(std::move(reason.error)) {}

    /// True on success.
    bool has_value() const noexcept { return !error_.has_value(); }
    /// As `has_value()`.
    explicit operator bool() const noexcept { return has_value(); }
    /// Throws `bad_expected_access<E>` with a copy of the reason unless this is a success.
    void value() const& {
        if (!has_value())
            throw bad_expected_access<E>(error());
    }
    /// As above; moves the reason out.
    void value() && {
        if (!has_value())
            throw bad_expected_access<E>(std::move(*error_));
    }
    /// The reason; this must not be a success.
    const E& error() const noexcept { return *error_; }

private:
    std::optional<E> error_;
};

} // namespace kq
