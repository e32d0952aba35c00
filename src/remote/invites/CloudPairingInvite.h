#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tevanto {

/// CloudPairingInvite names the computer that shows a pairing code, for a phone that knows the code.
/// Invites: docs/protocol.md, section 11.3.
struct CloudPairingInvite {
  std::string deviceID;
  std::string deviceName;

  bool operator==(const CloudPairingInvite&) const = default;
};

/// The payload of a record with an invite: docs/protocol.md, section 11.1.
std::string encodePairingInvite(const CloudPairingInvite& invite);
/// Nothing for what is no such object.
std::optional<CloudPairingInvite> decodePairingInvite(std::string_view json);

/// The record's name for a pairing code; nothing unless the code has six digits, whatever stands between
/// them.
std::optional<std::string> pairInviteRecordName(std::string_view code);

}  // namespace tevanto
