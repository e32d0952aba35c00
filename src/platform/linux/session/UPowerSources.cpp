#include "platform/linux/session/UPowerSources.h"

#include <cmath>
#include <utility>

namespace tevanto {
namespace {

constexpr auto kUPower = "org.freedesktop.UPower";
constexpr auto kUPowerPath = "/org/freedesktop/UPower";
constexpr auto kDevice = "org.freedesktop.UPower.Device";
constexpr std::string_view kSumOfAll = "/DisplayDevice";
constexpr std::uint64_t kBattery = 2;      // of the device property "Type"
constexpr std::uint64_t kDischarging = 2;  // of the device property "State"

bool isSystemBattery(const BusProperties& device) {
  return unsignedProperty(device, "Type") == kBattery && boolProperty(device, "PowerSupply") == true &&
         boolProperty(device, "IsPresent") != false;
}

void readLevel(const BusProperties& device, PowerSource& source) {
  if (const auto percentage = doubleProperty(device, "Percentage")) {
    source.currentCapacity = std::llround(*percentage);
    source.maxCapacity = 100;
    return;
  }
  const auto energy = doubleProperty(device, "Energy");
  const auto full = doubleProperty(device, "EnergyFull");
  if (!energy || !full || !(*full > 0)) return;
  source.currentCapacity = std::llround(*energy / *full * 100);
  source.maxCapacity = 100;
}

}  // namespace

UPowerSources::UPowerSources(BusAddress systemBus, std::filesystem::path sysfsFolder)
    : systemBus_(std::move(systemBus)), kernel_(std::move(sysfsFolder)) {}

std::vector<PowerSource> UPowerSources::snapshot() {
  if (skipped_ > 0) {
    --skipped_;
    return kernel_.snapshot();
  }
  auto sources = ask();
  return sources ? std::move(*sources) : kernel_.snapshot();
}

std::optional<std::vector<PowerSource>> UPowerSources::askFailed(const BusError& error) {
  if (error.isTimeout()) skipped_ = kSnapshotsWithoutHungService;
  return std::nullopt;
}

std::optional<std::vector<PowerSource>> UPowerSources::ask() {
  auto opened = BusConnection::open(systemBus_);
  if (const auto* error = std::get_if<BusError>(&opened)) return askFailed(*error);
  auto& bus = std::get<BusConnection>(opened);
  const auto listed = bus.call({kUPower, kUPowerPath, kUPower, "EnumerateDevices"});
  if (!listed) return askFailed(listed.error());
  const auto paths = listed.strings();
  if (!paths) return std::nullopt;

  std::vector<BusCall> questions{BusConnection::getAll(kUPower, kUPowerPath, kUPower)};
  for (const auto& path : *paths) {
    if (!path.ends_with(kSumOfAll)) questions.push_back(BusConnection::getAll(kUPower, path, kDevice));
  }
  const auto answers = bus.callAll(questions);
  if (!answers.front()) return askFailed(answers.front().error());
  const auto machine = answers.front().properties().value_or(BusProperties());

  std::vector<PowerSource> sources;
  for (std::size_t i = 1; i < answers.size(); ++i) {
    const auto device = answers[i].properties().value_or(BusProperties());
    if (!isSystemBattery(device)) continue;
    const bool discharging = unsignedProperty(device, "State") == kDischarging;
    PowerSource source;
    source.state = boolProperty(machine, "OnBattery").value_or(discharging) ? kBatteryPower : kAcPower;
    readLevel(device, source);
    sources.push_back(std::move(source));
  }
  return sources;
}

}  // namespace tevanto
