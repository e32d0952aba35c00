#include "remote/LineProtocolConnection.h"

#include <span>
#include <utility>

#include "core/queue/QueueBound.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto {
namespace {

/// Small reads: a command is decoded as soon as its line feed is here.
constexpr std::size_t kReadBytes = 4096;
/// Room for an encoded message that is kept from one message to the next.
constexpr std::size_t kKeptBytes = 64 * 1024;

}  // namespace

LineProtocolConnection::LineProtocolConnection(std::unique_ptr<TcpConnection> connection,
                                               std::size_t maximumLineBytes)
    : connection_(std::move(connection)), buffer_(maximumLineBytes) {}

void LineProtocolConnection::start(std::shared_ptr<SerialQueue> queue) {
  queue_ = std::move(queue);
  connection_->setStateHandler(weakCall(weak_from_this(), &LineProtocolConnection::stateChanged));
  connection_->setReceiveHandler(weakCall(weak_from_this(), &LineProtocolConnection::received));
  connection_->start(queue_);
  connection_->receive(kReadBytes);
}

void LineProtocolConnection::received(const Received& received) {
  if (closed_) return;
  const bool held = buffer_.feed(received.bytes, [this](std::string_view line) { return decodeLine(line); });
  if (!held) return close();
  // A fault does not stop this: the connection announces its end as a state.
  if (!closed_ && !received.endOfStream) connection_->receive(kReadBytes);
}

bool LineProtocolConnection::decodeLine(std::string_view line) {
  auto message = decodeRemoteMessage(line);
  if (message && onMessage) onMessage(std::move(*message));
  return !closed_;
}

void LineProtocolConnection::send(const RemoteMessage& message) {
  encoded_.clear();
  if (!encodeRemoteMessage(message, encoded_)) return;
  encoded_ += '\n';
  connection_->send(std::as_bytes(std::span(encoded_)));
  if (encoded_.capacity() > kKeptBytes) encoded_ = {};
}

void LineProtocolConnection::close() {
  closed_ = true;
  connection_->cancel();
  // The cancellation is reported in the queue's next turn, to an object that its owner may have released.
  if (queue_) queue_->async([self = shared_from_this()] {});
}

void LineProtocolConnection::stateChanged(ConnectionState state) {
  if (onStateChange) onStateChange(state);
  if (!onChannelState) return;
  if (state == ConnectionState::ready) onChannelState(ChannelState::ready);
  if (state == ConnectionState::failed || state == ConnectionState::cancelled)
    onChannelState(ChannelState::failed);
}

}  // namespace tevanto
