#include "screen/wire/FramedConnection.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <utility>

#include "core/Precondition.h"
#include "core/queue/QueueBound.h"
#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

constexpr std::size_t kMaxReceiveBytes = 65'536;

std::int64_t frameBytesOf(std::size_t payloadBytes) {
  return static_cast<std::int64_t>(FrameExtractor::kHeaderBytes + payloadBytes);
}

}  // namespace

FramedConnection::FramedConnection(std::unique_ptr<TcpConnection> connection)
    : connection_(std::move(connection)) {}

FramedConnection::~FramedConnection() {
  // A sender's thread may have been the last owner; the socket ends where it lives.
  if (queue_ && !queue_->isCurrent()) queue_->async([connection = std::move(connection_)] {});
}

void FramedConnection::start(std::shared_ptr<SerialQueue> queue) {
  queue_ = std::move(queue);
  connection_->setStateHandler(weakCall(weak_from_this(), [](FramedConnection& self, ConnectionState state) {
    if (self.onStateChange) self.onStateChange(state);
  }));
  connection_->setReceiveHandler(weakCall(weak_from_this(), &FramedConnection::received));
  connection_->start(queue_);
  receive();
}

// The rest of a large frame goes straight to where its beginning lies.
void FramedConnection::receive() {
  auto room = extractor_.room(kMaxReceiveBytes);
  receivesIntoFrame_ = !room.bytes.empty();
  if (!receivesIntoFrame_) return connection_->receive(kMaxReceiveBytes);
  connection_->receive(std::move(room));
}

void FramedConnection::received(const Received& received) {
  if (cancelled_) return;
  const auto outcome = extract(received.bytes);
  if (outcome == FrameExtractor::Outcome::stopped) return;
  if (outcome == FrameExtractor::Outcome::oversized || received.endOfStream || received.error)
    return cancel();
  receive();
}

FrameExtractor::Outcome FramedConnection::extract(std::span<const std::byte> bytes) {
  const auto onFrame = [this](std::span<const std::byte> payload) {
    if (onData) onData(payload);
    return !cancelled_;
  };
  return receivesIntoFrame_ ? extractor_.feedFromRoom(bytes.size(), onFrame)
                            : extractor_.feed(bytes, onFrame);
}

bool FramedConnection::send(SharedBytes payload, std::int64_t maxPendingBytes, bool force) {
  assert(queue_ && "a connection is started before it sends");
  precondition(payload->size() <= std::numeric_limits<std::uint32_t>::max(),
               "a frame is longer than its header can say");
  if (!reserve(frameBytesOf(payload->size()), maxPendingBytes, force)) return false;
  queue_->async(weakCall(weak_from_this(), [payload = std::move(payload)](FramedConnection& self) mutable {
    self.transmit(std::move(payload));
  }));
  return true;
}

void FramedConnection::transmit(SharedBytes payload) {
  const auto frameBytes = frameBytesOf(payload->size());
  const auto header = bigEndian(static_cast<std::uint32_t>(payload->size()));
  connection_->send(
      header, std::move(payload),
      weakCall(weak_from_this(), [frameBytes](FramedConnection& self) { self.processed(frameBytes); }));
}

// The check and the count under one lock, so that no two senders pass a check that only one of them fits.
bool FramedConnection::reserve(std::int64_t frameBytes, std::int64_t maxPendingBytes, bool force) {
  const std::lock_guard lock(sendLock_);
  if (!force && pendingSendBytes_ + frameBytes > maxPendingBytes) return false;
  pendingSendBytes_ += frameBytes;
  return true;
}

bool FramedConnection::wouldSend(std::size_t payloadBytes, std::int64_t maxPendingBytes) const {
  return pendingSendBytes() + frameBytesOf(payloadBytes) <= maxPendingBytes;
}

void FramedConnection::processed(std::int64_t frameBytes) {
  const std::lock_guard lock(sendLock_);
  pendingSendBytes_ = std::max<std::int64_t>(0, pendingSendBytes_ - frameBytes);
}

void FramedConnection::cancel() {
  cancelled_ = true;
  connection_->cancel();
}

std::int64_t FramedConnection::pendingSendBytes() const {
  const std::lock_guard lock(sendLock_);
  return pendingSendBytes_;
}

}  // namespace tevanto
