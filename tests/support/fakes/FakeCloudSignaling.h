#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "p2p/signaling/CloudSignaling.h"

namespace tevanto::test {

/// The cloud's records, as the test has them.
class FakeCloudSignaling final : public CloudSignaling {
 public:
  void start(const std::string& room, SignalRole role) override { starts.emplace_back(room, role); }
  void stop() override { ++stops; }
  void conclude() override { ++conclusions; }
  void write(const std::string& kind, const SignalMessage& message) override {
    written.emplace_back(kind, message);
  }
  void publishTURN(const std::vector<RemoteIceServerConfig>& servers) override {
    published.push_back(servers);
  }
  void loadTURN(std::function<void(std::optional<BrokeredIceServers>)> done) override { done(lent); }

  void opens() {
    if (onOpen) onOpen();
  }
  void isUnavailable() {
    if (onUnavailable) onUnavailable();
  }
  void delivers(SignalMessage message) {
    if (onSignal) onSignal(std::move(message));
  }

  std::vector<std::pair<std::string, SignalRole>> starts;
  int stops = 0;
  int conclusions = 0;
  std::vector<std::pair<std::string, SignalMessage>> written;
  std::vector<std::vector<RemoteIceServerConfig>> published;
  std::optional<BrokeredIceServers> lent;
};

}  // namespace tevanto::test
