#pragma once

#include <functional>
#include <memory>
#include <string>

#include "remote/invites/PairingInvites.h"
#include "remote/message/MessageChannel.h"
#include "screen/ScreenTransport.h"

namespace tevanto {

/// A peer-to-peer transport that waits for the phone's offer. Its channel and its screen are two faces of one
/// object, whose callbacks come on the main queue. A channel that has reported `failed` is of no use any
/// more; `close` ends it for good and may be called more than once.
struct Answerer {
  std::shared_ptr<MessageChannel> channel;
  std::shared_ptr<ScreenTransport> screen;
  /// Begins to wait. Once, on the main queue, when the callbacks are set.
  std::function<void()> start;
  /// Calls `replace`, on the main queue, when it has waited for so long that a new one would be reached more
  /// easily. Empty: it waits for ever.
  std::function<void(std::function<void()> replace)> whenAged = {};
};

/// Makes an answerer that waits in `room`; one without a channel when that is not possible now. Main queue.
using AnswererFactory = std::function<Answerer(const std::string& room)>;

/// How a phone away from the local network reaches this computer. Both may be empty: then it does not.
struct AwayAccess {
  AnswererFactory makeAnswerer = {};
  std::shared_ptr<PairingInvites> invites = {};
};

}  // namespace tevanto
