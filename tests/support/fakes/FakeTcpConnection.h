#pragma once

#include <algorithm>
#include <cassert>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "net/tcp/TcpConnection.h"

namespace tevanto::test {

/// The other end of a `FakeTcpConnection`, and its kernel: what the test does and sees. Lives longer than the
/// connection. Use it on the connection's queue, or while that does not run.
class FakeTcpPeer : public std::enable_shared_from_this<FakeTcpPeer> {
 public:
  /// What the connection has sent so far.
  std::string received;
  /// How many bytes the kernel still takes from the connection.
  std::size_t window = std::string::npos;
  /// How often the connection tells that something was processed: a broken one may repeat itself.
  int timesProcessedIsTold = 1;
  /// Whether the connection becomes ready by itself when it is started.
  bool readyOnStart = true;
  /// How often the connection was asked to receive into memory of its owner.
  int timesRoomWasGiven = 0;

  void send(std::string_view bytes) {
    inbox_ += bytes;
    deliver();
  }
  void endStream() {
    streamEnded_ = true;
    deliver();
  }
  void fail() { end(ConnectionState::failed); }
  void becomeReady() {
    queue_->async([self = shared_from_this()] {
      if (self->ended_) return;
      self->ready_ = true;
      self->report(ConnectionState::ready);
      self->deliver();
      self->flush();
    });
  }
  /// The kernel takes `bytes` more.
  void openWindow(std::size_t bytes) {
    window = bytes;
    if (ready_) flush();
  }

  bool isEnded() const { return ended_; }
  /// Whether a receive of the connection's is open.
  bool isReceiving() const { return wanted_ > 0; }
  /// Whether the connection object is gone.
  bool isReleased() const { return released_; }

 private:
  friend class FakeTcpConnection;

  void report(ConnectionState state) {
    if (onState_ && !released_) onState_(state);
  }

  void start(std::shared_ptr<SerialQueue> queue) {
    queue_ = std::move(queue);
    queue_->async([self = shared_from_this()] {
      if (!self->ended_) self->report(ConnectionState::preparing);
    });
    if (readyOnStart) becomeReady();
  }

  void receive(std::size_t maxBytes, ReceiveRoom room = {}) {
    if (ended_) return;
    assert(wanted_ == 0 && "one receive at a time");
    wanted_ = std::clamp<std::size_t>(maxBytes, 1, TcpConnection::kMaxReceiveBytes);
    room_ = std::move(room);
    if (!room_.bytes.empty()) ++timesRoomWasGiven;
    deliver();
  }

  /// Hands over what the open receive may have, in a turn of its own.
  void deliver() {
    if (!queue_) return;
    queue_->async([self = shared_from_this()] { self->deliverNow(); });
  }

  void deliverNow() {
    if (!ready_ || ended_ || wanted_ == 0 || (inbox_.empty() && !streamEnded_)) return;
    const std::string bytes = inbox_.substr(0, std::exchange(wanted_, 0));
    inbox_.erase(0, bytes.size());
    const bool last = bytes.empty();
    const auto room = std::exchange(room_, {});
    auto arrived = std::as_bytes(std::span(bytes.data(), bytes.size()));
    if (!room.bytes.empty()) {
      std::copy(arrived.begin(), arrived.end(), room.bytes.begin());
      arrived = room.bytes.first(bytes.size());
    }
    if (onReceive_ && !released_) onReceive_({.bytes = arrived, .endOfStream = last, .error = {}});
    if (last && !ended_) {
      flush();
      end(ConnectionState::failed);
    }
  }

  void sendFromConnection(std::span<const std::byte> bytes, Task processed = {}) {
    if (processed) processed_.push_back({sent_ + bytes.size(), std::move(processed)});
    sent_ += bytes.size();
    if (ended_) return notifyProcessed();
    unsent_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (ready_ && unsent_.size() > TcpConnection::kMaxPendingBytes) flush();
    if (unsent_.size() > TcpConnection::kMaxPendingBytes) return end(ConnectionState::failed);
    if (ready_) queue_->async([self = shared_from_this()] { self->flush(); });
  }

  void flush() {
    const std::size_t taken = std::min(window, unsent_.size());
    received.append(unsent_, 0, taken);
    unsent_.erase(0, taken);
    if (window != std::string::npos) window -= taken;
    notifyProcessed();
  }

  void notifyProcessed() {
    const auto gone = sent_ - (ended_ ? 0 : unsent_.size());
    while (!processed_.empty() && processed_.front().end <= gone) {
      queue_->async([self = shared_from_this(), task = std::move(processed_.front().task)]() mutable {
        for (int i = 0; i < self->timesProcessedIsTold && !self->released_; ++i) task();
      });
      processed_.pop_front();
    }
  }

  void end(ConnectionState state) {
    if (std::exchange(ended_, true)) return;
    unsent_.clear();
    if (queue_) notifyProcessed();
    if (queue_) queue_->async([self = shared_from_this(), state] { self->report(state); });
  }

  struct Processed {
    std::size_t end;  // counted from the first byte that was ever sent
    Task task;
  };

  std::shared_ptr<SerialQueue> queue_;
  TcpConnection::StateHandler onState_;
  TcpConnection::ReceiveHandler onReceive_;
  std::string inbox_;
  std::string unsent_;
  std::size_t sent_ = 0;
  std::deque<Processed> processed_;
  std::size_t wanted_ = 0;
  ReceiveRoom room_;
  bool streamEnded_ = false;
  bool ready_ = false;
  bool ended_ = false;
  bool released_ = false;
};

/// A connection without a network, that keeps the contract of the real ones.
class FakeTcpConnection final : public TcpConnection {
 public:
  explicit FakeTcpConnection(std::shared_ptr<FakeTcpPeer> peer) : peer_(std::move(peer)) {}
  ~FakeTcpConnection() override {
    peer_->released_ = true;
    peer_->room_ = {};
    peer_->ended_ = true;
  }

  void setStateHandler(StateHandler handler) override { peer_->onState_ = std::move(handler); }
  void setReceiveHandler(ReceiveHandler handler) override { peer_->onReceive_ = std::move(handler); }
  void start(std::shared_ptr<SerialQueue> queue) override { peer_->start(std::move(queue)); }
  void receive(std::size_t maxBytes) override { peer_->receive(maxBytes); }
  void receive(ReceiveRoom room) override {
    const auto count = room.bytes.size();
    peer_->receive(count, std::move(room));
  }
  void send(std::span<const std::byte> bytes) override { peer_->sendFromConnection(bytes); }
  void send(std::span<const std::byte> head, SharedBytes body, Task processed) override {
    peer_->sendFromConnection(head);
    peer_->sendFromConnection(*body, std::move(processed));
  }
  std::size_t pendingBytes() const override { return peer_->unsent_.size(); }
  void cancel() override { peer_->end(ConnectionState::cancelled); }
  std::string peerName() const override { return "fake:1"; }

 private:
  std::shared_ptr<FakeTcpPeer> peer_;
};

}  // namespace tevanto::test
