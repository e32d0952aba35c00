#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "net/tcp/TcpConnection.h"
#include "remote/LineBuffer.h"
#include "remote/message/MessageChannel.h"

namespace tevanto {

/// LineProtocolConnection carries messages over one TCP connection, one on each line. Format:
/// docs/protocol.md, section 4. A line that exceeds the maximum closes the connection.
///
/// Each byte is looked at once for its line feed, so the time that a line costs is proportional to its
/// length.
///
/// Lives on the queue given to `start`. Owned by a `shared_ptr`, which may be released in a callback too.
class LineProtocolConnection final : public MessageChannel,
                                     public std::enable_shared_from_this<LineProtocolConnection> {
 public:
  /// `maximumLineBytes` does not count the line feed.
  explicit LineProtocolConnection(std::unique_ptr<TcpConnection> connection,
                                  std::size_t maximumLineBytes = LineBuffer::kUnlimited);

  /// Receives every state of the TCP connection, before `onChannelState` receives those that concern a
  /// channel.
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
