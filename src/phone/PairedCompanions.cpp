#include "phone/PairedCompanions.h"

#include <unistd.h>

#include <array>

#include "core/DeviceIdentity.h"
#include "core/UserDefaults.h"

namespace tevanto::phone {
namespace {

constexpr std::string_view kLastCompanion = "lastCompanion";

std::string companionKey(std::string_view deviceID, std::string_view what) {
  return "companion." + std::string(deviceID) + "." + std::string(what);
}

std::string addressKey(const Endpoint& endpoint) { return "address." + endpoint.text(); }

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
  if (auto known = defaults_.string(addressKey(endpoint))) return known;
  return last();
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

Result<void> PairedCompanions::remember(std::string_view deviceID, std::string_view name,
                                        std::string_view token, const Endpoint& endpoint) {
  if (auto stored = defaults_.set(companionKey(deviceID, "token"), std::string(token)); !stored)
    return stored;
  if (auto stored = defaults_.set(companionKey(deviceID, "name"), std::string(name)); !stored) return stored;
  if (!endpoint.hosts.empty()) {
    if (auto stored = defaults_.set(addressKey(endpoint), std::string(deviceID)); !stored) return stored;
  }
  return defaults_.set(kLastCompanion, std::string(deviceID));
}

PhoneIdentity PairedCompanions::identity() {
  return {deviceIdentifier(defaults_),
          defaults_.string("deviceName").value_or(computerName() + " (terminal)")};
}

}  // namespace tevanto::phone
