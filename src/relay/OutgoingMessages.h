#pragma once

#include <cstddef>
#include <list>
#include <utility>

#include "relay/RelayTypes.h"

namespace tevanto::relay {

/// OutgoingMessages holds the messages for a member that reads more slowly than its peer writes, the one on
/// its way included. A list, because it costs nothing while it is empty, as it nearly always is.
class OutgoingMessages {
 public:
  explicit OutgoingMessages(std::size_t maxBytes) : maxBytes_(maxBytes) {}

  /// False when the bytes that wait would exceed the limit; nothing was added then.
  bool push(RelayMessage message) {
    if (bytes_ + message.bytes.size() > maxBytes_) return false;
    bytes_ += message.bytes.size();
    messages_.push_back(std::move(message));
    return true;
  }
  const RelayMessage& front() const { return messages_.front(); }
  void pop() {
    bytes_ -= messages_.front().bytes.size();
    messages_.pop_front();
  }
  bool isEmpty() const { return messages_.empty(); }
  std::size_t count() const { return messages_.size(); }
  std::size_t bytes() const { return bytes_; }

 private:
  const std::size_t maxBytes_;
  std::size_t bytes_ = 0;
  std::list<RelayMessage> messages_;
};

}  // namespace tevanto::relay
