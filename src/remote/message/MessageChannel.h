#pragma once

#include <functional>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

/// ChannelState is the state of a MessageChannel. `interrupted` may recover by itself; `failed` is final.
enum class ChannelState { ready = 0, interrupted = 1, failed = 2 };

/// MessageChannel carries messages between the server and the phone, over any kind of connection. An event
/// without a callback is dropped.
class MessageChannel {
 public:
  virtual ~MessageChannel() = default;

  std::function<void(RemoteMessage)> onMessage;
  std::function<void(ChannelState)> onChannelState;

  virtual void send(const RemoteMessage& message) = 0;
  virtual void close() = 0;
};

}  // namespace tevanto
