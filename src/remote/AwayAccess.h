#pragma once

#include <functional>
#include <memory>
#include <string>

#include "remote/invites/PairingInvites.h"
#include "remote/message/MessageChannel.h"
#include "screen/ScreenTransport.h"

namespace tevanto {

/// Answerer is a peer-to-peer transport that waits for the phone's offer. `channel` and `screen` are two
/// interfaces of one object, which calls back on the main queue. A channel that has reported `failed` carries
/// nothing more. `close` ends it for good and may be called more than once.
struct Answerer {
  std::shared_ptr<MessageChannel> channel;
  std::shared_ptr<ScreenTransport> screen;
  /// Begins to wait. Called once, on the main queue, after the callbacks were set.
  std::function<void()> start;
  /// Calls `replace`, on the main queue, when it has waited so long that the phone would reach a new one more
  /// easily. Empty: it waits without limit.
  std::function<void(std::function<void()> replace)> whenAged = {};
};

/// AnswererFactory makes an answerer that waits in `room`; one without a channel when that is not possible
/// now. Main queue.
using AnswererFactory = std::function<Answerer(const std::string& room)>;

/// AwayAccess holds the means by which a phone away from the local network reaches this computer. Where both
/// are empty, it cannot.
struct AwayAccess {
  AnswererFactory makeAnswerer = {};
  std::shared_ptr<PairingInvites> invites = {};
};

}  // namespace tevanto
