#include "p2p/channels/DataChannelMessaging.h"

#include <string_view>
#include <utility>

#include "core/queue/QueueBound.h"
#include "p2p/channels/ControlFrames.h"
#include "remote/message/RemoteMessageCodec.h"
#include "screen/wire/ScreenPackets.h"

namespace tevanto {
namespace {

bool isOpen(const std::shared_ptr<DataChannel>& channel) {
  return channel && channel->state() == DataChannelState::open;
}

bool isPointerMotion(const RemoteMessage& message) {
  return message.type == "command" && message.command && message.command->type == "movePointer";
}

std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

DataChannelMessaging::DataChannelMessaging(Environment environment, std::weak_ptr<Delegate> delegate)
    : environment_(std::move(environment)), delegate_(std::move(delegate)) {}

void DataChannelMessaging::setControlChannel(std::shared_ptr<DataChannel> channel) {
  const std::lock_guard lock(mutex_);
  if (channel && channel != channels_.control) incomingChunks_.clear();
  channels_.control.swap(channel);  // the old one goes after the lock
}

void DataChannelMessaging::setMotionChannel(std::shared_ptr<DataChannel> channel) {
  const std::lock_guard lock(mutex_);
  channels_.motion.swap(channel);
}

void DataChannelMessaging::setScreenChannel(std::shared_ptr<DataChannel> channel) {
  const std::lock_guard lock(mutex_);
  if (channel && channel != channels_.screen) screenPackets_.reset();
  channels_.screen.swap(channel);
}

std::shared_ptr<DataChannel> DataChannelMessaging::controlChannel() const {
  const std::lock_guard lock(mutex_);
  return channels_.control;
}

std::shared_ptr<DataChannel> DataChannelMessaging::motionChannel() const {
  const std::lock_guard lock(mutex_);
  return channels_.motion;
}

std::shared_ptr<DataChannel> DataChannelMessaging::screenChannel() const {
  const std::lock_guard lock(mutex_);
  return channels_.screen;
}

std::shared_ptr<DataChannel> DataChannelMessaging::openChannelFor(const RemoteMessage& message) const {
  if (isPointerMotion(message)) {
    if (auto motion = motionChannel(); isOpen(motion)) return motion;
  }
  auto control = controlChannel();
  return isOpen(control) ? control : nullptr;
}

void DataChannelMessaging::send(const RemoteMessage& message) {
  const auto channel = openChannelFor(message);
  if (!channel) return;
  std::string document;
  if (!encodeRemoteMessage(message, document)) return;
  const auto bytes = std::as_bytes(std::span(document));
  if (bytes.size() <= kMessageChunkPayloadBytes) {
    channel->send(bytes);
  } else {
    sendInChunks(*channel, bytes);
  }
}

void DataChannelMessaging::sendInChunks(DataChannel& channel, std::span<const std::byte> document) {
  const auto count = messageChunkCount(document.size());
  if (!count) return;
  std::uint32_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    id = outgoingMessageID_++;
  }
  logLine("sending " + std::to_string(document.size()) + " bytes as " + std::to_string(*count) + " chunks");
  forEachMessageChunk(document, id, [&](std::span<const std::byte> frame) { return channel.send(frame); });
}

bool DataChannelMessaging::sendScreenFrame(std::span<const std::byte> message, bool isKeyFrame) {
  const auto channel = screenChannel();
  if (message.empty() || !isOpen(channel)) return false;
  if (!admit(channel->bufferedAmount(), message.size(), isKeyFrame)) return false;
  std::uint32_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    id = outgoingScreenPacketID_++;
  }
  return forEachPacket(message, id, [&](std::span<const std::byte> packet) { return channel->send(packet); });
}

bool DataChannelMessaging::takesKeyFrame(std::size_t bytes) const {
  const auto channel = screenChannel();
  return isOpen(channel) && !shouldDrop(channel->bufferedAmount(), bytes, true);
}

bool DataChannelMessaging::admit(std::uint64_t buffered, std::size_t messageBytes, bool isKeyFrame) const {
  if (!shouldDrop(buffered, messageBytes, isKeyFrame)) return true;
  logLine(std::string("dropping ") + (isKeyFrame ? "key" : "delta") + " screen frame at " +
          std::to_string(buffered) + " buffered bytes");
  return false;
}

bool DataChannelMessaging::sendScreenPayload(std::span<const std::byte> message) {
  if (message.empty() || message.size() > kMessageChunkPayloadBytes) return false;
  const auto channel = controlChannel();
  return isOpen(channel) && channel->send(screenPayloadFrame(message));
}

void DataChannelMessaging::received(const DataChannel& channel, std::span<const std::byte> frame) {
  bool isControl = false;
  {
    const std::lock_guard lock(mutex_);
    isControl = &channel == channels_.control.get() || &channel == channels_.motion.get();
    if (!isControl && &channel != channels_.screen.get()) return;
  }
  if (isControl) {
    controlFrameReceived(frame);
  } else {
    screenPacketReceived(frame);
  }
}

void DataChannelMessaging::controlFrameReceived(std::span<const std::byte> bytes) {
  const auto frame = classifyControlFrame(bytes);
  switch (frame.kind) {
    case ControlFrame::Kind::message:
      return decode(frame.body);
    case ControlFrame::Kind::chunk:
      return chunkReceived(frame.body);
    case ControlFrame::Kind::screenPayload:
      return deliverScreen({frame.body.begin(), frame.body.end()});
    case ControlFrame::Kind::unknown:
      return logLine("unknown frame tag " + std::to_string(std::to_integer<int>(bytes.front())));
    case ControlFrame::Kind::empty:
      return;
  }
}

void DataChannelMessaging::chunkReceived(std::span<const std::byte> frame) {
  const auto chunk = parseMessageChunk(frame);
  if (!chunk) return;
  std::optional<std::vector<std::byte>> document;
  {
    const std::lock_guard lock(mutex_);
    document = incomingChunks_.add(*chunk, environment_.mainQueue->now());
  }
  if (!document) return;
  logLine("reassembled " + std::to_string(document->size()) + " bytes from " + std::to_string(chunk->count) +
          " chunks");
  decode(*document);
}

void DataChannelMessaging::decode(std::span<const std::byte> document) {
  auto message = decodeRemoteMessage(textOf(document));
  if (!message) return logLine("undecodable message (" + std::to_string(document.size()) + " bytes)");
  environment_.mainQueue->async(weakCall(delegate_, [message = std::move(*message)](Delegate& alive) mutable {
    alive.didReceiveMessage(std::move(message));
  }));
}

void DataChannelMessaging::screenPacketReceived(std::span<const std::byte> packet) {
  std::optional<std::vector<std::byte>> message;
  {
    const std::lock_guard lock(mutex_);
    message = screenPackets_.add(packet, environment_.mainQueue->now());
  }
  if (message) deliverScreen(std::move(*message));
}

void DataChannelMessaging::deliverScreen(std::vector<std::byte> message) {
  if (message.empty()) return;
  if (const auto delegate = delegate_.lock()) delegate->screenDataArriving();
  std::optional<std::uint64_t> relayed;
  {
    const std::lock_guard lock(mutex_);
    relayed = turnBytes_.arrived(message.size());
  }
  if (relayed) {
    environment_.mainQueue->async(weakCall(
        delegate_, [bytes = *relayed](Delegate& alive) { alive.didReceiveRelayScreenBytes(bytes); }));
  }
  environment_.mainQueue->async(weakCall(
      delegate_, [message = std::move(message)](Delegate& alive) { alive.didReceiveScreenData(message); }));
}

TurnByteCounter::RouteChange DataChannelMessaging::routeSelected(bool relayed) {
  const std::lock_guard lock(mutex_);
  return turnBytes_.routeSelected(relayed);
}

void DataChannelMessaging::logLine(const std::string& text) const {
  environment_.log.info("[" + environment_.role + "] " + text);
}

}  // namespace tevanto
