#include "remote/message/RemoteMessage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/text/Decimals.h"

namespace tevanto {
namespace {

constexpr std::array<std::string_view, 4> kModifierNames = {"shift", "option", "control", "command"};

/// The shortest decimal digits that read back to `value`, never with an exponent (1e21 is 1 and 21 zeros),
/// always with a decimal point. What is no number is written as no date is.
std::string decimalText(double value) {
  if (!std::isfinite(value)) return "0.0";
  std::array<char, 512> digits;  // the longest is -2.2250738585072014e-308, some 330 characters
  const auto end = toFixedChars(digits.data(), digits.data() + digits.size(), value).ptr;
  std::string text(digits.data(), end);
  if (text.find('.') == std::string::npos) text += ".0";
  return text;
}

/// Daniel J. Bernstein's string hash, in 64 bits.
std::uint64_t djb2(std::string_view bytes) {
  std::uint64_t hash = 5381;
  for (const char byte : bytes) hash = hash * 33 + static_cast<unsigned char>(byte);
  return hash;
}

}  // namespace

std::vector<std::string> capabilityList() { return {kCapabilities.begin(), kCapabilities.end()}; }

std::string_view wireName(RemoteModifier modifier) {
  return kModifierNames[static_cast<std::size_t>(modifier)];
}

std::optional<RemoteModifier> modifierNamed(std::string_view name) {
  const auto found = std::find(kModifierNames.begin(), kModifierNames.end(), name);
  if (found == kModifierNames.end()) return std::nullopt;
  return static_cast<RemoteModifier>(found - kModifierNames.begin());
}

std::string appsHash(const std::vector<RemoteAppInfo>& apps) {
  std::vector<std::string> lines;
  lines.reserve(apps.size());
  for (const auto& app : apps)
    lines.push_back(app.bundleId + "|" + decimalText(app.installedDate.value_or(0)));
  std::sort(lines.begin(), lines.end());
  std::string joined;
  for (const auto& line : lines) {
    if (&line != &lines.front()) joined += '\n';
    joined += line;
  }
  std::array<char, 17> digits;
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(djb2(joined)));
  return digits.data();
}

}  // namespace tevanto

std::size_t std::hash<tevanto::RemoteAppInfo>::operator()(const tevanto::RemoteAppInfo& app) const noexcept {
  std::size_t combined = std::hash<std::string>()(app.name);
  const auto mix = [&](std::size_t part) { combined = combined * 31 + part; };
  mix(std::hash<std::string>()(app.bundleId));
  mix(std::hash<std::optional<std::string>>()(app.iconPNGBase64));
  mix(std::hash<std::optional<double>>()(app.installedDate));
  return combined;
}
