#include "app/ipc/CompanionStatus.h"

#include <boost/json.hpp>

#include "app/ipc/CompanionStatusJson.h"

namespace tevanto {
namespace {

namespace json = boost::json;

void read(const json::object& from, std::string_view key, std::string& to) {
  if (const auto* value = from.if_contains(key); value && value->is_string()) to = value->as_string().c_str();
}
void read(const json::object& from, std::string_view key, bool& to) {
  if (const auto* value = from.if_contains(key); value && value->is_bool()) to = value->as_bool();
}
void read(const json::object& from, std::string_view key, std::int64_t& to) {
  if (const auto* value = from.if_contains(key); value && value->is_int64()) to = value->as_int64();
}

AdvertisingState stateNamed(std::string_view name) {
  if (name == nameOf(AdvertisingState::advertised)) return AdvertisingState::advertised;
  if (name == nameOf(AdvertisingState::unavailable)) return AdvertisingState::unavailable;
  return AdvertisingState::pending;
}

void readDiscovery(const json::object& object, AdvertisingStatus& discovery) {
  const auto* member = object.if_contains("discovery");
  if (!member || !member->is_object()) return;
  std::string state;
  read(member->as_object(), "state", state);
  read(member->as_object(), "name", discovery.name);
  read(member->as_object(), "message", discovery.message);
  discovery.state = stateNamed(state);
}

void readAddresses(const json::object& object, std::vector<std::string>& addresses) {
  const auto* member = object.if_contains("addresses");
  if (!member || !member->is_array()) return;
  for (const auto& address : member->as_array()) {
    if (address.is_string()) addresses.emplace_back(address.as_string().c_str());
  }
}

}  // namespace

std::string_view nameOf(AdvertisingState state) {
  switch (state) {
    case AdvertisingState::pending:
      return "pending";
    case AdvertisingState::advertised:
      return "advertised";
    case AdvertisingState::unavailable:
      return "unavailable";
  }
  return "pending";
}

json::object toJson(const CompanionStatus& status) {
  return {{"version", status.version},
          {"processID", status.processID},
          {"pairingCode", status.pairingCode},
          {"statusText", status.statusText},
          {"isClientConnected", status.isClientConnected},
          {"isPaired", status.isPaired},
          {"isAccessibilityTrusted", status.isAccessibilityTrusted},
          {"deviceID", status.deviceID},
          {"hostName", status.hostName},
          {"addresses", json::value_from(status.addresses)},
          {"remotePort", status.remotePort},
          {"isStreaming", status.isStreaming},
          {"screenStatusText", status.screenStatusText},
          {"isScreenRecordingTrusted", status.isScreenRecordingTrusted},
          {"encoder", status.encoder},
          {"screenPort", status.screenPort},
          {"keepAwakeOn", status.keepAwakeOn},
          {"batteryPercent", status.batteryPercent ? json::value(*status.batteryPercent) : json::value()},
          {"keepAwakeStatusText", status.keepAwakeStatusText},
          {"launchAtLoginOn", status.launchAtLoginOn},
          {"launchAtLoginStatusText", status.launchAtLoginStatusText},
          {"discovery",
           {{"state", nameOf(status.discovery.state)},
            {"name", status.discovery.name},
            {"message", status.discovery.message}}}};
}

CompanionStatus companionStatusFrom(const json::object& object) {
  CompanionStatus status;
  read(object, "version", status.version);
  read(object, "processID", status.processID);
  read(object, "pairingCode", status.pairingCode);
  read(object, "statusText", status.statusText);
  read(object, "isClientConnected", status.isClientConnected);
  read(object, "isPaired", status.isPaired);
  read(object, "isAccessibilityTrusted", status.isAccessibilityTrusted);
  read(object, "deviceID", status.deviceID);
  read(object, "hostName", status.hostName);
  readAddresses(object, status.addresses);
  read(object, "remotePort", status.remotePort);
  read(object, "isStreaming", status.isStreaming);
  read(object, "screenStatusText", status.screenStatusText);
  read(object, "isScreenRecordingTrusted", status.isScreenRecordingTrusted);
  read(object, "encoder", status.encoder);
  read(object, "screenPort", status.screenPort);
  read(object, "keepAwakeOn", status.keepAwakeOn);
  if (const auto* battery = object.if_contains("batteryPercent"); battery && battery->is_int64()) {
    status.batteryPercent = battery->as_int64();
  }
  read(object, "keepAwakeStatusText", status.keepAwakeStatusText);
  read(object, "launchAtLoginOn", status.launchAtLoginOn);
  read(object, "launchAtLoginStatusText", status.launchAtLoginStatusText);
  readDiscovery(object, status.discovery);
  return status;
}

std::string encodeCompanionStatus(const CompanionStatus& status) { return json::serialize(toJson(status)); }

std::optional<CompanionStatus> decodeCompanionStatus(std::string_view text) {
  boost::system::error_code error;
  const auto value = json::parse(text, error);
  if (error || !value.is_object()) return std::nullopt;
  return companionStatusFrom(value.as_object());
}

}  // namespace tevanto
