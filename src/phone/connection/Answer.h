#pragma once

#include <optional>
#include <string>
#include <utility>

namespace tevanto::phone {

/// How the program ends; part of its interface to scripts.
enum class ExitCode { done = 0, notDone = 1, usage = 2, notFound = 3, refused = 4, connectionLost = 5 };

/// Why a command was not carried out: a sentence for a person that says what to do next, where that is known.
struct Trouble {
  ExitCode code = ExitCode::notDone;
  std::string message;
};

/// What was asked for, or the trouble that came in between.
template <class T>
class [[nodiscard]] Answer {
 public:
  Answer(T value) : value_(std::move(value)) {}              // NOLINT(google-explicit-constructor)
  Answer(Trouble trouble) : trouble_(std::move(trouble)) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return value_.has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }
  const Trouble& trouble() const { return trouble_; }

 private:
  std::optional<T> value_;
  Trouble trouble_;
};

}  // namespace tevanto::phone
