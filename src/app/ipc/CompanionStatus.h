#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// CompanionStatus is a snapshot of the values that a running companion publishes.
struct CompanionStatus {
  std::string version;
  std::int64_t processID = 0;
  std::string pairingCode;
  std::string statusText;
  bool isClientConnected = false;
  bool isPaired = false;  // a phone holds a token
  bool isAccessibilityTrusted = false;
  std::string deviceID;
  std::string hostName;
  std::vector<std::string> addresses;     // of this computer on the local network, without port
  std::int64_t remotePort = 0;            // 0 until it listens
  bool isStreaming = false;               // a phone sees the screen
  std::string screenStatusText;           // empty while there is nothing to tell
  bool isScreenRecordingTrusted = false;  // the display can be captured
  std::string encoder;                    // of the last session; empty before the first
  std::int64_t screenPort = 0;            // 0 until it listens
  bool keepAwakeOn = false;
  std::optional<std::int64_t> batteryPercent;
  std::string keepAwakeStatusText;
  bool launchAtLoginOn = false;
  std::string launchAtLoginStatusText;
  AdvertisingStatus discovery;

  bool operator==(const CompanionStatus&) const = default;
};

/// Encodes one JSON object on one line. A battery percentage that is not known is null.
std::string encodeCompanionStatus(const CompanionStatus& status);
/// Returns nothing when the text is no such object. Missing members keep their initial values.
std::optional<CompanionStatus> decodeCompanionStatus(std::string_view json);

/// The name of a discovery state in the JSON form.
std::string_view nameOf(AdvertisingState state);

}  // namespace tevanto
