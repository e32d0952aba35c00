#include "p2p/ice/DeploymentSettings.h"

#include <cstdlib>
#include <utility>

#include "core/settings/UserDefaults.h"

namespace tevanto {
namespace {

using Key = DeploymentSettings::Key;

constexpr Key kRelayURLs{"TevantoRelayURLs", "tevanto.relay.urls", "TEVANTO_RELAY_URLS"};
constexpr Key kStunHosts{"TevantoSTUNHosts", "tevanto.stun.hosts", "TEVANTO_STUN_HOSTS"};
constexpr Key kTurnURLs{"TevantoTurnURLs", "tevanto.turn.urls", "TEVANTO_TURN_URLS"};
constexpr Key kTurnUsername{"TevantoTurnUsername", "tevanto.turn.username", "TEVANTO_TURN_USERNAME"};
constexpr Key kTurnCredential{"TevantoTurnCredential", "tevanto.turn.credential", "TEVANTO_TURN_CREDENTIAL"};
constexpr Key kContainer{"TevantoCloudKitContainer", "tevanto.cloudkit.container",
                         "TEVANTO_CLOUDKIT_CONTAINER"};
constexpr Key kEnvironment{"TevantoCloudKitEnvironment", "tevanto.cloudkit.environment",
                           "TEVANTO_CLOUDKIT_ENVIRONMENT"};
constexpr Key kKeyID{"TevantoCloudKitKeyID", "tevanto.cloudkit.keyID", "TEVANTO_CLOUDKIT_KEY_ID"};
constexpr Key kKeyFile{"TevantoCloudKitKeyFile", "tevanto.cloudkit.keyFile", "TEVANTO_CLOUDKIT_KEY_FILE"};
constexpr Key kServiceURL{"TevantoCloudKitServiceURL", "tevanto.cloudkit.serviceURL",
                          "TEVANTO_CLOUDKIT_SERVICE_URL"};

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kStunPort = ":19302";

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::vector<std::string> splitAtCommas(std::string_view text) {
  std::vector<std::string> pieces;
  while (true) {
    const auto comma = text.find(',');
    pieces.push_back(trimmed(text.substr(0, comma)));
    if (comma == std::string_view::npos) return pieces;
    text.remove_prefix(comma + 1);
  }
}

/// IPv6 addresses stand in brackets, or alone with more than one colon.
std::string stunURL(const std::string& host) {
  if (host.starts_with("stun:") || host.starts_with("stuns:")) return host;
  const auto afterAddress = host.starts_with('[') ? host.find(']') : 0;
  const bool isBareIPv6 = !host.starts_with('[') && host.find(':') != host.rfind(':');
  if (isBareIPv6) return "stun:[" + host + "]" + std::string(kStunPort);
  const bool hasPort = host.find(':', afterAddress) != std::string::npos;
  return "stun:" + host + (hasPort ? "" : std::string(kStunPort));
}

}  // namespace

DeploymentSettings::Environment DeploymentSettings::processEnvironment() {
  return [](const std::string& name) -> std::optional<std::string> {
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
  };
}

DeploymentSettings::DeploymentSettings(InfoPlist info, const UserDefaults& defaults, Environment environment)
    : info_(std::move(info)), defaults_(defaults), environment_(std::move(environment)) {}

std::vector<std::string> DeploymentSettings::list(const Key& key) const {
  auto found = info_.strings(key.info);
  if (!found) {
    const auto stored = defaults_.value(key.defaults);
    if (const auto* strings = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr)
      found = *strings;
  }
  if (!found) {
    const auto variable = environment_(std::string(key.environment));
    found = variable ? splitAtCommas(*variable) : std::vector<std::string>();
  }
  std::erase_if(*found, [](const std::string& piece) { return piece.empty(); });
  return *found;
}

std::optional<std::string> DeploymentSettings::text(const Key& key) const {
  if (auto found = info_.string(key.info)) return found;
  if (auto found = defaults_.string(key.defaults)) return found;
  return environment_(std::string(key.environment));
}

std::optional<std::string> DeploymentSettings::value(const Key& key) const {
  const auto found = text(key);
  auto cleaned = found ? trimmed(*found) : std::string();
  return cleaned.empty() ? std::nullopt : std::optional(std::move(cleaned));
}

std::vector<std::string> DeploymentSettings::relayURLs() const { return list(kRelayURLs); }

std::vector<RemoteIceServerConfig> DeploymentSettings::stunServers() const {
  std::vector<RemoteIceServerConfig> servers;
  for (const auto& host : list(kStunHosts)) servers.emplace_back().urlStrings.push_back(stunURL(host));
  return servers;
}

std::optional<RemoteIceServerConfig> DeploymentSettings::turnOverride() const {
  auto urls = list(kTurnURLs);
  if (urls.empty()) return std::nullopt;
  return RemoteIceServerConfig{std::move(urls), text(kTurnUsername), text(kTurnCredential)};
}

std::string DeploymentSettings::turnOrigin() const {
  std::string origin;
  for (const auto& key : {kRelayURLs, kTurnURLs})
    for (const auto& url : list(key)) origin += (origin.empty() ? "" : " ") + url;
  return origin;
}

std::optional<DeploymentSettings::CloudKit> DeploymentSettings::cloudKit() const {
  const auto container = value(kContainer);
  const auto keyID = value(kKeyID);
  const auto keyFile = value(kKeyFile);
  if (!container || !keyID || !keyFile) return std::nullopt;
  CloudKit configured;
  configured.container = *container;
  configured.keyID = *keyID;
  configured.keyFile = *keyFile;
  configured.environment = value(kEnvironment).value_or(configured.environment);
  configured.serviceURL = value(kServiceURL).value_or(configured.serviceURL);
  return configured;
}

std::optional<std::string> DeploymentSettings::cloudKitContainer() const { return value(kContainer); }

}  // namespace tevanto
