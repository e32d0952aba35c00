#include "phone/connection/PairedCompanions.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

#include "core/settings/DeviceIdentity.h"
#include "core/settings/UserDefaults.h"

namespace tevanto::phone {
namespace {

constexpr std::string_view kLastCompanion = "lastCompanion";

std::string companionKey(std::string_view deviceID, std::string_view what) {
  return "companion." + std::string(deviceID) + "." + std::string(what);
}

std::string addressKey(const std::string& host, std::uint16_t port) {
  return "address." + Endpoint{{host}, port}.text();
}

std::string computerName() {
  std::array<char, 256> name{};
  if (::gethostname(name.data(), name.size() - 1) != 0 || name[0] == 0) return "terminal";
  return name.data();
}

}  // namespace

std::optional<std::string> PairedCompanions::token(std::string_view deviceID) const {
  return defaults_.string(companionKey(deviceID, "token"));
}

std::optional<std::string> PairedCompanions::companionAt(const Endpoint& endpoint) const {
  for (const auto& host : endpoint.hosts)
    if (auto met = defaults_.string(addressKey(host, endpoint.port))) return met;
  return companionOn(endpoint);
}

/// Nothing when several were met there, unless one of them was paired last.
std::optional<std::string> PairedCompanions::companionOn(const Endpoint& endpoint) const {
  std::set<std::string> met;
  for (const auto& [key, value] : defaults_.all()) {
    const auto* id = std::get_if<std::string>(&value);
    const auto isThere = [&key = key](const std::string& host) {
      const auto anyPort = addressKey(host, 0);
      return key.substr(0, key.rfind(':')) == anyPort.substr(0, anyPort.rfind(':'));
    };
    if (id && std::any_of(endpoint.hosts.begin(), endpoint.hosts.end(), isThere)) met.insert(*id);
  }
  if (met.size() == 1) return *met.begin();
  const auto newest = last();
  return newest && met.contains(*newest) ? newest : std::nullopt;
}

std::optional<std::string> PairedCompanions::last() const { return defaults_.string(kLastCompanion); }

std::optional<std::string> PairedCompanions::named(std::string_view name) const {
  constexpr std::string_view kStart = "companion.";
  constexpr std::string_view kEnd = ".name";
  for (const auto& [key, value] : defaults_.all()) {
    const auto* text = std::get_if<std::string>(&value);
    if (!text || *text != name || !key.starts_with(kStart) || !key.ends_with(kEnd)) continue;
    return key.substr(kStart.size(), key.size() - kStart.size() - kEnd.size());
  }
  return std::nullopt;
}

std::optional<std::string> PairedCompanions::known(const std::string& nameOrID) const {
  if (nameOrID.empty()) return std::nullopt;
  if (auto id = named(nameOrID)) return id;
  return token(nameOrID) ? std::optional(nameOrID) : std::nullopt;
}

Result<void> PairedCompanions::meet(std::string_view deviceID, const Endpoint& endpoint) {
  for (const auto& host : endpoint.hosts) {
    const auto key = addressKey(host, endpoint.port);
    if (defaults_.string(key) == deviceID) continue;
    if (auto stored = defaults_.set(key, std::string(deviceID)); !stored) return stored;
  }
  return {};
}

Result<void> PairedCompanions::remember(std::string_view deviceID, std::string_view name,
                                        std::string_view token, const Endpoint& endpoint) {
  if (auto stored = defaults_.set(companionKey(deviceID, "token"), std::string(token)); !stored)
    return stored;
  if (auto stored = defaults_.set(companionKey(deviceID, "name"), std::string(name)); !stored) return stored;
  if (auto stored = meet(deviceID, endpoint); !stored) return stored;
  return defaults_.set(kLastCompanion, std::string(deviceID));
}

PhoneIdentity PairedCompanions::identity() {
  return {deviceIdentifier(defaults_),
          defaults_.string("deviceName").value_or(computerName() + " (terminal)")};
}

}  // namespace tevanto::phone
