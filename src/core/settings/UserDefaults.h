#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// DefaultsData is a value of raw bytes.
using DefaultsData = std::vector<std::byte>;
/// DefaultsValue is a value of one of the types that can be stored.
using DefaultsValue =
    std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>, DefaultsData>;

/// UserDefaults keeps the user's persistent settings and secrets, by key. A value that `set` has reported as
/// stored survives the process, and a power cut.
/// Thread-safe.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  virtual std::optional<DefaultsValue> value(std::string_view key) const = 0;
  virtual Result<void> set(std::string_view key, DefaultsValue value) = 0;
  virtual Result<void> remove(std::string_view key) = 0;
  virtual std::map<std::string, DefaultsValue> all() const = 0;
  /// True when the string under `key` equals `candidate`; both may be absent. Copies nothing, so that it can
  /// be asked for every command.
  virtual bool stringEquals(std::string_view key, std::optional<std::string_view> candidate) const = 0;

  /// The string under `key`; absent when nothing or something else is stored there.
  std::optional<std::string> string(std::string_view key) const;
  /// The data under `key`; absent when nothing or something else is stored there.
  std::optional<DefaultsData> data(std::string_view key) const;
  /// The boolean under `key`; false when nothing or something else is stored there.
  bool boolean(std::string_view key) const;
};

}  // namespace tevanto
