#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/Log.h"
#include "core/WallClock.h"
#include "p2p/CloudDatabase.h"

namespace tevanto {

/// Tells a phone that knows the pairing code which computer shows it.
struct CloudPairingInvite {
  std::string deviceID;
  std::string deviceName;

  bool operator==(const CloudPairingInvite&) const = default;
};

/// A JSON object with the members' names, in this order.
std::string encodePairingInvite(const CloudPairingInvite& invite);
/// Nothing for what is no such object.
std::optional<CloudPairingInvite> decodePairingInvite(std::string_view json);

/// The record's name for a pairing code; nothing unless the code has six digits, whatever stands between
/// them.
std::optional<std::string> pairInviteRecordName(std::string_view code);

/// Leaves invites in the cloud and withdraws them. Any thread may call; each call is independent, whether or
/// not a negotiation goes on.
class CloudPairingInvites {
 public:
  struct Found {
    std::string room;
    CloudPairingInvite invite;
  };

  CloudPairingInvites(std::shared_ptr<CloudDatabase> database, WallClock now, Logger log = {});

  /// Nothing is written when the code has not six digits.
  void publishPairInvite(std::string_view code, const std::string& room, const CloudPairingInvite& invite);
  void deletePairInvite(std::string_view code);
  /// Looks up the invite for a code. `done` is called once, on a thread of the database's choosing, with
  /// nothing when there is none.
  void loadPairInvite(std::string_view code, std::function<void(std::optional<Found>)> done);

 private:
  const std::shared_ptr<CloudDatabase> database_;
  const WallClock now_;
  const Logger log_;
};

}  // namespace tevanto
