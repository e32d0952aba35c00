#include "platform/linux/session/SysfsPowerSources.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <system_error>
#include <utility>

namespace tevanto {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> attribute(const fs::path& supply, const char* name) {
  std::ifstream file(supply / name);
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return line;
}

std::optional<std::int64_t> number(const fs::path& supply, const char* name) {
  const auto text = attribute(supply, name);
  std::int64_t value = 0;
  if (!text) return std::nullopt;
  const auto* end = text->data() + text->size();
  const auto parsed = std::from_chars(text->data(), end, value);
  return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(value) : std::nullopt;
}

std::vector<fs::path> supplies(const fs::path& folder) {
  std::vector<fs::path> found;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    found.push_back(entry->path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool isSystemBattery(const fs::path& supply) {
  return attribute(supply, "type") == "Battery" && attribute(supply, "scope") != "Device" &&
         number(supply, "present") != 0;
}

enum class Mains { none, offline, online };

Mains mainsOf(const std::vector<fs::path>& all) {
  auto mains = Mains::none;
  for (const auto& supply : all) {
    const auto type = attribute(supply, "type");
    if ((type != "Mains" && type != "USB") || attribute(supply, "scope") == "Device") continue;
    if (number(supply, "online").value_or(0) > 0) return Mains::online;
    if (type == "Mains") mains = Mains::offline;
  }
  return mains;
}

/// Reads the level of a battery: in percent, or in its own unit of energy or charge.
void readLevel(const fs::path& battery, PowerSource& source) {
  constexpr std::pair<const char*, const char*> kLevels[] = {{"energy_now", "energy_full"},
                                                             {"charge_now", "charge_full"}};
  if ((source.currentCapacity = number(battery, "capacity"))) {
    source.maxCapacity = 100;
    return;
  }
  for (const auto& [now, full] : kLevels) {
    source.currentCapacity = number(battery, now);
    source.maxCapacity = number(battery, full);
    if (source.currentCapacity && source.maxCapacity) return;
  }
}

}  // namespace

SysfsPowerSources::SysfsPowerSources(fs::path folder) : folder_(std::move(folder)) {}

std::vector<PowerSource> SysfsPowerSources::snapshot() {
  const auto all = supplies(folder_);
  const auto mains = mainsOf(all);
  std::vector<PowerSource> sources;
  for (const auto& supply : all) {
    if (!isSystemBattery(supply)) continue;
    // Drivers that do not know say "Unknown", so that an adapter that is not plugged in decides for them.
    const bool draining = mains == Mains::offline || attribute(supply, "status") == "Discharging";
    const bool onBattery = mains != Mains::online && draining;
    PowerSource source;
    source.state = onBattery ? kBatteryPower : kAcPower;
    readLevel(supply, source);
    sources.push_back(std::move(source));
  }
  return sources;
}

}  // namespace tevanto
