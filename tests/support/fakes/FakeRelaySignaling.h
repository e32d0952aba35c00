#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "p2p/signaling/RelaySignaling.h"

namespace tevanto::test {

/// A relay's room that the test speaks for. It keeps its callbacks' promises only as far as the test does.
class FakeRelaySignaling final : public RelaySignaling {
 public:
  void connect(const std::string& room, SignalRole role) override { joined.emplace(room, role); }
  void send(const SignalMessage& message) override { sent.push_back(message); }
  void close() override { ++closes; }

  void opens() { call(onOpen); }
  void drops() { call(onClose); }
  void receives(SignalMessage message) {
    if (onMessage) onMessage(std::move(message));
  }
  /// The types of what was sent since the last call.
  std::vector<std::string> takeTypes() {
    std::vector<std::string> types;
    for (const auto& message : std::exchange(sent, {})) types.push_back(message.type);
    return types;
  }

  std::optional<std::pair<std::string, SignalRole>> joined;
  std::vector<SignalMessage> sent;
  int closes = 0;

 private:
  static void call(const std::function<void()>& callback) {
    if (callback) callback();
  }
};

}  // namespace tevanto::test
