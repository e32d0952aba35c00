#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "p2p/signaling/RelaySignaling.h"

namespace tevanto::test {

/// One room of a relay, in memory: what one role says the other hears, in order, on the room's queue. The
/// newest member of a role takes the place of the one before; a message to nobody is dropped. Any thread.
class MemoryRelay final : public std::enable_shared_from_this<MemoryRelay> {
 public:
  explicit MemoryRelay(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}

  std::shared_ptr<RelaySignaling> makeMember() { return std::make_shared<Member>(shared_from_this()); }

 private:
  class Member final : public RelaySignaling, public std::enable_shared_from_this<Member> {
   public:
    explicit Member(std::shared_ptr<MemoryRelay> relay) : relay_(std::move(relay)) {}

    void connect(const std::string&, SignalRole role) override {
      role_ = role;
      relay_->queue_->async([self = shared_from_this()] {
        self->relay_->place(self->role_) = self;
        self->onOpen();
      });
    }
    void send(const SignalMessage& message) override {
      relay_->queue_->async([self = shared_from_this(), message] {
        const auto other = self->role_ == SignalRole::mac ? SignalRole::phone : SignalRole::mac;
        if (const auto member = self->relay_->place(other).lock()) member->onMessage(message);
      });
    }
    void close() override {
      relay_->queue_->async([self = shared_from_this()] {
        auto& place = self->relay_->place(self->role_);
        if (place.lock() == self) place.reset();
      });
    }

   private:
    const std::shared_ptr<MemoryRelay> relay_;
    SignalRole role_ = SignalRole::mac;
  };

  std::weak_ptr<Member>& place(SignalRole role) { return places_[role == SignalRole::mac ? 0 : 1]; }

  const std::shared_ptr<SerialQueue> queue_;
  std::array<std::weak_ptr<Member>, 2> places_;  // on the queue
};

}  // namespace tevanto::test
