#pragma once

#include <optional>
#include <string>
#include <utility>

namespace tevanto::phone {

/// ExitCode is the program's exit status, which scripts rely on.
enum class ExitCode { done = 0, notDone = 1, usage = 2, notFound = 3, refused = 4, connectionLost = 5 };

/// Trouble is the reason why a command was not carried out. The message is a sentence for a person, with what
/// to do next where that is known.
struct Trouble {
  ExitCode code = ExitCode::notDone;
  std::string message;
};

/// Answer holds the value that was asked for, or the trouble that prevented it.
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
