#pragma once

#include <utility>
#include <variant>

namespace ruvola {

/// A value or the reason there is none. Failures cross layers as values, never as exceptions.
template <typename T, typename E>
class Result {
public:
    Result(T value) : storage_(std::in_place_index<0>, std::move(value)) {}
    Result(E error) : storage_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return storage_.index() == 0; }
    explicit operator bool() const { return ok(); }

    const T& value() const& { return std::get<0>(storage_); }
    T&& value() && { return std::get<0>(std::move(storage_)); }
    const E& error() const& { return std::get<1>(storage_); }

    const T* operator->() const { return &value(); }
    const T& operator*() const& { return value(); }

    bool operator==(const Result&) const = default;

private:
    std::variant<T, E> storage_;
};

} // namespace ruvola
