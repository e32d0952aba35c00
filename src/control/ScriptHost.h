#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tevanto {

/// ScriptResult is the outcome of one script, with its value.
struct ScriptResult {
  bool success = false;
  std::string errorMessage;  // when not successful
  /// Nothing for what is neither a number nor a boolean: `missing value`, the volume of an output without
  /// one.
  std::optional<std::variant<std::int32_t, bool>> value;

  /// The value as a number; 0 when it is none.
  std::int32_t number() const {
    return value ? std::visit([](auto held) { return static_cast<std::int32_t>(held); }, *value) : 0;
  }
  /// The value as a boolean; false when it is none.
  bool boolean() const { return number() != 0; }
};

/// ScriptHost runs a script of the system's scripting language and waits for it. Any thread, one at a time.
class ScriptHost {
 public:
  virtual ~ScriptHost() = default;
  /// A text that is no script of this host fails with "bad script", or with the host's own message. A script
  /// that fails without a message fails with "script error".
  virtual ScriptResult run(std::string_view source) = 0;
};

/// The scripts that the product runs, as the host receives them.
namespace script {
inline constexpr std::string_view kOutputVolume = "output volume of (get volume settings)";
inline constexpr std::string_view kOutputMuted = "output muted of (get volume settings)";
inline constexpr std::string_view kSetOutputVolume = "set volume output volume ";  // + 0 to 100
inline constexpr std::string_view kSetOutputMuted = "set volume output muted ";    // + "true" or "false"
inline constexpr std::string_view kSystemEvents = "tell application \"System Events\" to ";
inline constexpr std::string_view kRestart = "restart";
inline constexpr std::string_view kShutDown = "shut down";
inline constexpr std::string_view kLogOut = "log out";
}  // namespace script

}  // namespace tevanto
