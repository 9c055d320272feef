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

template <class E>
unexpected(E) -> unexpected<E>;

/// Holds either a `T` or an `E` that says why there is no `T`. A value type; not synchronised.
template <class T, class E>
class expected {
public:
    expected(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    template <class G>
    expected(unexpected<G> reason) : content_(std::in_place_index<1>, std::move(reason.error)) {}

    /// True when there is a value.
    bool has_value() const noexcept { return content_.index() == 0; }
    /// As `has_value()`.
    explicit operator bool() const noexcept { return has_value(); }

    /// The value. Throws `std::logic_error("Value not available!")` when there is none.
    const T& value() const& {
        RequireValue();
        return *std::get_if<0>(&content_);
    }
    /// As above.
    T& value() & {
        RequireValue();
        return *std::get_if<0>(&content_);
    }
    /// As above; moves the value out.
    T&& value() && {
        RequireValue();
        return std::move(*std::get_if<0>(&content_));
    }
    /// The value; there must be one.
    const T& operator*() const& noexcept { return *std::get_if<0>(&content_); }
    /// The value; there must be one.
    T& operator*() & noexcept { return *std::get_if<0>(&content_); }
    /// The reason; there must be no value.
    const E& error() const noexcept { return *std::get_if<1>(&content_); }

private:
    void RequireValue() const {
        if (!has_value())
            throw std::logic_error("Value not available!");
    }

    std::variant<T, E> content_;
};

/// Success, or an `E` that says why there was none.
template <class E>
class expected<void, E> {
public:
    expected() noexcept = default;
    template <class G>
    expected(unexpected<G> reason) : error_(std::move(reason.error)) {}

    /// True on success.
    bool has_value() const noexcept { return !error_.has_value(); }
    /// As `has_value()`.
    explicit operator bool() const noexcept { return has_value(); }
    /// Throws `std::logic_error("Value not available!")` unless this is a success.
    void value() const {
        if (!has_value())
            throw std::logic_error("Value not available!");
    }
    /// The reason; this must not be a success.
    const E& error() const noexcept { return *error_; }

private:
    std::optional<E> error_;
};

} // namespace kq
