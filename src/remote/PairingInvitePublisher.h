#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "core/queue/QueueBound.h"
#include "remote/invites/PairingInvites.h"

namespace tevanto {

/// PairingInvitePublisher keeps the invite of the current pairing code published, and renews it: readers take
/// an old invite for that of a computer that is gone. Main queue only.
class PairingInvitePublisher final : public QueueBound<PairingInvitePublisher> {
 public:
  static constexpr std::chrono::seconds kRefreshInterval{240};

  struct Invite {
    std::string code;
    std::string deviceID;  // also the room in which the computer waits
    std::string deviceName;
  };

  /// Without `invites` nothing is published.
  PairingInvitePublisher(std::shared_ptr<SerialQueue> mainQueue, std::shared_ptr<PairingInvites> invites);

  /// Publishes the invite now, and again and again until another one takes its place or `stop`.
  void publish(Invite invite);
  /// Takes back the invite of a code that a phone has paired with.
  void withdraw(const std::string& code);
  /// Publishes nothing any more. May be called twice.
  void stop() { refresh_.cancel(); }

 private:
  void publishNow();

  const std::shared_ptr<PairingInvites> invites_;
  Invite invite_;
  Timer refresh_;
};

}  // namespace tevanto
