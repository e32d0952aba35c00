#pragma once

#include <memory>
#include <string>

#include "net/tcp/TcpConnection.h"
#include "remote/LineBuffer.h"
#include "remote/message/MessageChannel.h"

namespace tevanto {

/// Carries messages over one TCP connection, one JSON object per line, each ended by a line feed:
///
///     {"type":"pairRequest","code":"012345"}\n
///
/// Lives on the queue given to `start`, owned by a `shared_ptr`; the owner may let go of it at any time, in a
/// callback too. Lines that do not decode are dropped in silence. There is no upper bound on a line, on
/// purpose; each byte is looked at once for its line feed, so a long line costs time in proportion to its
/// length.
class LineProtocolConnection final : public MessageChannel,
                                     public std::enable_shared_from_this<LineProtocolConnection> {
 public:
  explicit LineProtocolConnection(std::unique_ptr<TcpConnection> connection);

  /// Every state of the platform connection, unfiltered, before `onChannelState` hears its share of it.
  std::function<void(ConnectionState)> onStateChange;

  /// The callbacks must be set before.
  void start(std::shared_ptr<SerialQueue> queue);
  void send(const RemoteMessage& message) override;
  /// Cancels the connection. No message comes after this; the end is reported as any other, in a later turn
  /// of the queue, for which this object stays alive by itself.
  void close() override;

 private:
  void received(const Received& received);
  bool decodeLine(std::string_view line);
  void stateChanged(ConnectionState state);

  std::unique_ptr<TcpConnection> connection_;
  std::shared_ptr<SerialQueue> queue_;  // once started
  LineBuffer buffer_;
  std::string encoded_;  // reused for every message that is sent
  bool closed_ = false;
};

}  // namespace tevanto
