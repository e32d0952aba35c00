#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// RemoteModifier is a modifier key that is held during a key press. The names are the wire strings.
enum class RemoteModifier { shift, option, control, command };

// Every member is initialized by `= {}`, so that designated initializers may leave any of them out without a
// warning.

/// RemoteCommand is the command inside a "command" message. `type` names it; each command reads the members
/// that it needs.
struct RemoteCommand {
  std::string type = {};
  std::optional<double> dx = {};  // points
  std::optional<double> dy = {};  // points
  std::optional<std::int64_t> clicks = {};
  std::optional<std::string> button = {};
  std::optional<std::string> key = {};
  std::optional<std::vector<RemoteModifier>> modifiers = {};
  std::optional<std::string> text = {};
  std::optional<bool> on = {};
  std::optional<double> level = {};  // 0 to 1
  std::optional<std::string> appId = {};
  std::optional<std::string> gesture = {};

  bool operator==(const RemoteCommand&) const = default;
};

/// RemoteAppInfo describes an installed application. `bundleId` is its identity.
struct RemoteAppInfo {
  std::string name = {};
  std::string bundleId = {};
  std::optional<std::string> iconPNGBase64 = {};
  std::optional<double> installedDate = {};  // seconds since 1970-01-01 UTC

  bool operator==(const RemoteAppInfo&) const = default;
};

/// RemoteMessage is the one record of the control channel, in both directions. `type` names the kind.
/// Members: docs/protocol.md, section 5.
struct RemoteMessage {
  std::string type = {};
  std::optional<std::int64_t> protocolVersion = {};
  std::optional<std::string> sessionNonce = {};
  std::optional<std::string> token = {};
  std::optional<std::string> code = {};
  std::optional<std::string> deviceName = {};
  std::optional<std::string> hostName = {};
  std::optional<std::string> deviceID = {};
  std::optional<std::string> kind = {};
  std::optional<std::vector<std::string>> capabilities = {};
  std::optional<RemoteCommand> command = {};
  std::optional<bool> ok = {};
  std::optional<std::string> message = {};
  std::optional<bool> keepAwakeOn = {};
  std::optional<bool> helperReady = {};
  std::optional<std::int64_t> batteryPercent = {};
  std::optional<double> volume = {};      // 0 to 1
  std::optional<double> brightness = {};  // 0 to 1
  std::optional<bool> muted = {};
  std::optional<std::vector<RemoteAppInfo>> apps = {};
  std::optional<std::string> appsHash = {};

  bool operator==(const RemoteMessage&) const = default;
};

inline constexpr std::int64_t kProtocolVersion = 2;
inline constexpr std::string_view kDeviceKind = "mac";
inline constexpr std::array<std::string_view, 10> kCapabilities = {
    "pointer",   "scroll",        "keyboard", "text",   "appLaunch",
    "mediaKeys", "systemControl", "power",    "mirror", "keepAwake"};

/// `kCapabilities` as the member of a message.
std::vector<std::string> capabilityList();

std::string_view wireName(RemoteModifier modifier);
std::optional<RemoteModifier> modifierNamed(std::string_view name);

/// The digest of an application list ("appsHash"): docs/protocol.md, section 5.5.
std::string appsHash(const std::vector<RemoteAppInfo>& apps);

}  // namespace tevanto

template <>
struct std::hash<tevanto::RemoteAppInfo> {
  std::size_t operator()(const tevanto::RemoteAppInfo& app) const noexcept;
};
