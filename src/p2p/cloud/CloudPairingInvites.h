#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/Log.h"
#include "core/queue/WallClock.h"
#include "p2p/cloud/CloudDatabase.h"
#include "remote/invites/PairingInvites.h"

namespace tevanto {

/// CloudPairingInvites writes pairing invites into the cloud, deletes them and looks them up. Records:
/// docs/protocol.md, section 11.3. Thread-safe. Calls are independent of one another and of any negotiation.
class CloudPairingInvites final : public PairingInvites {
 public:
  /// Found is an invite that was looked up, and the room that it leads to.
  struct Found {
    std::string room;
    CloudPairingInvite invite;
  };

  CloudPairingInvites(std::shared_ptr<CloudDatabase> database, WallClock now, const Logger& log = {});

  /// Nothing is written when the code has not six digits.
  void publishPairInvite(const std::string& code, const std::string& room,
                         const CloudPairingInvite& invite) override;
  void deletePairInvite(const std::string& code) override;
  /// Looks up the invite for a code. `done` is called once, on a thread that the database chooses, with
  /// nothing when there is none.
  void loadPairInvite(std::string_view code, std::function<void(std::optional<Found>)> done);

 private:
  class Reports;

  const std::shared_ptr<CloudDatabase> database_;
  const WallClock now_;
  const std::shared_ptr<Reports> published_;
  const std::shared_ptr<Reports> deleted_;
};

}  // namespace tevanto
