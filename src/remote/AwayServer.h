#pragma once

#include <memory>
#include <string>

#include "core/queue/SerialQueue.h"
#include "remote/AnswererKeeper.h"
#include "remote/AwayAccess.h"
#include "remote/PairingInvitePublisher.h"

namespace tevanto {

/// AwayServer makes this computer reachable for a phone away from the local network: an answerer waits for
/// the phone, and an invite shows it where. It passes each call on to the main queue, where both live.
///
/// Used on one queue at a time. Ends with its owner: what was passed on and has not run by then does nothing.
class AwayServer {
 public:
  AwayServer(std::shared_ptr<SerialQueue> mainQueue, AwayAccess access, AnswererKeeper::Callbacks callbacks);

  /// Before `start`: receives the screen's transport of each answerer. It is not kept alive.
  void setScreen(std::weak_ptr<ScreenTransportHost> screen);
  /// Waits in `room`, unless it waits already.
  void start(const std::string& room);
  void publish(PairingInvitePublisher::Invite invite);
  /// Takes back the invite of a code that a phone has paired with.
  void withdraw(const std::string& code);
  /// Ends `channel`, whose place another answerer's takes.
  void close(const std::shared_ptr<MessageChannel>& channel);
  /// True when `channel` is the one that was dropped last. Its `ready` may have been on its way by then.
  bool hasDropped(const std::shared_ptr<MessageChannel>& channel) const;
  /// Ends the answerer and publishes nothing any more. May be called twice.
  void stop();

 private:
  /// Runs `work` with `target` on the main queue, later.
  template <class Target, class Work>
  void onMain(const std::shared_ptr<Target>& target, Work work);

  const std::shared_ptr<SerialQueue> mainQueue_;
  const std::shared_ptr<AnswererKeeper> answerer_;
  const std::shared_ptr<PairingInvitePublisher> invite_;
  std::weak_ptr<MessageChannel> droppedChannel_;
};

}  // namespace tevanto
