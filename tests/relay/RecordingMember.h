#pragma once

#include <functional>
#include <string>
#include <vector>

#include "relay/RelayMember.h"

namespace tevanto::relay::test {

/// A member without a connection that remembers what the hub did with it.
class RecordingMember final : public RelayMember {
 public:
  std::vector<std::string> delivered;
  std::vector<bool> deliveredAsText;
  std::vector<CloseReason> closed;
  int pings = 0;
  std::function<void(TimerWheel::TimePoint)> onDue;

  void deliver(RelayMessage message) override {
    delivered.push_back(message.bytes);
    deliveredAsText.push_back(message.isText);
  }
  void ping() override { ++pings; }
  void close(CloseReason reason) override {
    closed.push_back(reason);
    TimerWheel::cancel(*this);
  }

 private:
  void due(TimerWheel::TimePoint now) override {
    if (onDue) onDue(now);
  }
};

}  // namespace tevanto::relay::test
