#pragma once
// The outcome of an operation that can fail: a value, or one line for people that says why there is none. Whatever can fail
// in the media engine returns one; the end of a stream is a value, not a failure.

#include <concepts>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace videoanalysis::media::ffmpeg {

/// Why an operation failed. The caller adds which clip or file it concerns.
struct Failure {
    std::string message;  ///< one line for people, without a full stop
};

/// Converts from a value or a `Failure`, and to true when it holds a value.
template <class T>
class [[nodiscard]] Result {
public:
    template <std::convertible_to<T> Value>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the concept excludes this class itself
    Result(Value&& value) : state_(std::in_place_index<0>, std::forward<Value>(value)) {}
    Result(Failure failure) : state_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const { return state_.index() == 0; }

    /// The value; only when there is one.
    T& operator*() & { return *std::get_if<0>(&state_); }
    const T& operator*() const& { return *std::get_if<0>(&state_); }
    T&& operator*() && { return std::move(*std::get_if<0>(&state_)); }
    T* operator->() { return std::get_if<0>(&state_); }
    const T* operator->() const { return std::get_if<0>(&state_); }

    /// Whether it holds a value equal to `value`.
    friend bool operator==(const Result& result, const T& value) { return result && *result == value; }

    /// The failure, to be reported or passed on; only when there is no value.
    const Failure& failure() const { return *std::get_if<1>(&state_); }

private:
    std::variant<T, Failure> state_;
};

/// For an operation that gives nothing but its success.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure) : failure_(std::move(failure)) {}  // NOLINT: implicit on purpose

    explicit operator bool() const { return !failure_; }
    const Failure& failure() const { return *failure_; }

private:
    std::optional<Failure> failure_;
};

}  // namespace videoanalysis::media::ffmpeg
