#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "p2p/transport/TransportLog.h"
#include "p2p/transport/WebRTCTransport.h"
#include "tests/support/fakes/FakeCloudSignaling.h"
#include "tests/support/fakes/FakePeerConnection.h"
#include "tests/support/fakes/FakeRelaySignaling.h"
#include "tests/support/fakes/ManualQueue.h"

namespace {

using namespace tevanto;

void require(bool holds) {
  if (!holds) std::abort();
}

/// Each candidate is counted once.
void expectSummaryOfAll(const std::vector<SignalIceCandidate>& candidates) {
  unsigned host = 0;
  unsigned srflx = 0;
  unsigned relay = 0;
  unsigned other = 0;
  const auto summary = candidateSummary(candidates);
  require(std::sscanf(summary.c_str(), "host=%u, srflx=%u, relay=%u, other=%u", &host, &srflx, &relay,
                      &other) == 4);
  require(host + srflx + relay + other == candidates.size());
}

/// A transport without an engine, in virtual time, and everything that others may do to it.
class World {
 public:
  explicit World(TransportRole role)
      : transport_(WebRTCTransport::create({.stateQueue = state_,
                                            .mainQueue = main_,
                                            .peers = peers_,
                                            .relay = relay_,
                                            .cloud = cloud_,
                                            .rememberIceServers = {}},
                                           role, "ROOM")) {
    transport_->onChannelState = [this](ChannelState) { require(!over_); };
    transport_->onMessage = [this](const RemoteMessage&) { require(!over_); };
    transport_->start({});
    settle();
  }
  /// It leaves nothing behind, whatever has happened.
  ~World() {
    transport_->stop();
    settle();
    over_ = true;
    require(peers_->alive() == 0 && state_->pendingCount() == 0 && main_->pendingCount() == 0);
    happen("o");
    happen("r{\"type\":\"offer\",\"sdp\":\"after the end\"}");
    require(peers_->alive() == 0);
    // Work that waits in a queue holds what holds the queue: none may be left.
    transport_.reset();
    main_->runPending();
  }

  /// One event: a letter for what it is, then what it brings.
  void happen(std::string_view event) {
    const auto rest = event.substr(1);
    switch (event.front()) {
      case 'r':
        return signal(rest, [&](SignalMessage message) { relay_->receives(std::move(message)); });
      case 'c':
        return signal(rest, [&](SignalMessage message) { cloud_->delivers(std::move(message)); });
      case 'o':
        relay_->opens();
        break;
      case 'd':
        relay_->drops();
        break;
      case 'p':
        cloud_->opens();
        break;
      case 'u':
        cloud_->isUnavailable();
        break;
      case 't':
        main_->advance(std::chrono::milliseconds(250) * (number(rest) + 1));
        break;
      case 'g':
        atPeer([&](auto& peer) { peer.gathers({std::string(rest), "0", 0}); });
        break;
      case 'i':
        atPeer([&](auto& peer) { peer.says(static_cast<IceConnectionState>(number(rest) % 9)); });
        break;
      case 'k':
        atPeer([&](auto& peer) { peer.opens(std::make_shared<test::FakeDataChannel>(std::string(rest))); });
        break;
      case 's':
        transport_->upgradeIceServers({{{"turn:late"}, {}, {}}});
        break;
      default:
        break;
    }
    settle();
  }

 private:
  static unsigned number(std::string_view text) {
    return text.empty() ? 0 : static_cast<unsigned char>(text.front());
  }
  template <class Act>
  void atPeer(Act act) {
    if (const auto peer = peers_->newest()) act(*peer);
  }
  template <class Deliver>
  void signal(std::string_view text, Deliver deliver) {
    auto message = decodeSignalMessage(text);
    if (!message) return;
    if (message->candidates) expectSummaryOfAll(*message->candidates);
    deliver(std::move(*message));
    settle();
  }
  void settle() {
    main_->runPending();
    require(peers_->alive() <= 1);
    for (const auto& message : std::exchange(relay_->sent, {}))
      require(decodeSignalMessage(encodeSignalMessage(message)).has_value());
    for (const auto& [kind, message] : std::exchange(cloud_->written, {}))
      require(kind == message.type && message.sdp && message.candidates);
  }

  std::shared_ptr<test::ManualClock> clock_ = std::make_shared<test::ManualClock>();
  std::shared_ptr<test::ManualQueue> main_ = std::make_shared<test::ManualQueue>("main", clock_);
  std::shared_ptr<test::ManualQueue> state_ = std::make_shared<test::ManualQueue>("state", clock_);
  std::shared_ptr<test::ManualQueue> engine_ = std::make_shared<test::ManualQueue>("engine", clock_);
  std::shared_ptr<test::FakePeerConnectionFactory> peers_ =
      std::make_shared<test::FakePeerConnectionFactory>(engine_);
  std::shared_ptr<test::FakeRelaySignaling> relay_ = std::make_shared<test::FakeRelaySignaling>();
  std::shared_ptr<test::FakeCloudSignaling> cloud_ = std::make_shared<test::FakeCloudSignaling>();
  bool over_ = false;
  std::shared_ptr<WebRTCTransport> transport_;
};

}  // namespace

/// The first byte chooses the role; then one event a line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  World world(data[0] % 2 == 0 ? TransportRole::offerer : TransportRole::answerer);
  std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  while (!rest.empty()) {
    const auto line = rest.substr(0, rest.find('\n'));
    if (!line.empty()) world.happen(line);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return 0;
}
