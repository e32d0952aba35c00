#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace tevanto {

/// Failure holds one sentence for a person: why something failed, and what to do next where it can tell.
struct Failure {
  std::string message;
};

/// Result holds a value, or the Failure that took its place.
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : content_(std::move(value)) {}            // NOLINT(google-explicit-constructor)
  Result(Failure failure) : content_(std::move(failure)) {}  // NOLINT(google-explicit-constructor)

  bool ok() const { return std::holds_alternative<T>(content_); }
  explicit operator bool() const { return ok(); }

  T& value() & {
    assert(ok() && "value of a failed result");
    return std::get<T>(content_);
  }
  const T& value() const& {
    assert(ok() && "value of a failed result");
    return std::get<T>(content_);
  }
  T value() && {
    assert(ok() && "value of a failed result");
    return std::get<T>(std::move(content_));
  }
  const std::string& error() const {
    assert(!ok() && "error of a successful result");
    return std::get<Failure>(content_).message;
  }

 private:
  std::variant<T, Failure> content_;
};

/// Result<void> holds success, or the Failure that took its place.
template <>
class [[nodiscard]] Result<void> {
 public:
  Result() = default;
  Result(Failure failure) : failure_(std::move(failure)) {}  // NOLINT(google-explicit-constructor)

  bool ok() const { return !failure_; }
  explicit operator bool() const { return ok(); }
  const std::string& error() const {
    assert(!ok() && "error of a successful result");
    return failure_->message;
  }

 private:
  std::optional<Failure> failure_;
};

}  // namespace tevanto
