#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "p2p/transport/WebRTCTransport.h"
#include "tests/support/fakes/FakeCloudSignaling.h"
#include "tests/support/fakes/FakePeerConnection.h"
#include "tests/support/fakes/FakeRelaySignaling.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/peers/CutPackets.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

inline SignalMessage offerSignal(const std::string& sdp) { return {.type = "offer", .sdp = sdp}; }
inline SignalMessage answerSignal(const std::string& sdp) { return {.type = "answer", .sdp = sdp}; }
inline SignalMessage iceSignal(const std::string& candidate) {
  return {.type = "ice", .candidate = candidate, .sdpMid = "0", .sdpMLineIndex = 0};
}
inline SignalMessage bundling(SignalMessage message, const std::vector<std::string>& candidates) {
  message.candidates.emplace();
  for (const auto& candidate : candidates) message.candidates->push_back({candidate, "0", 0});
  return message;
}

inline std::vector<RemoteIceServerConfig> stunOnly() {
  return {{.urlStrings = {"stun:stun.test:19302"}, .username = {}, .credential = {}}};
}
inline std::vector<RemoteIceServerConfig> withTURN() {
  return {{.urlStrings = {"stun:stun.test:19302"}, .username = {}, .credential = {}},
          {.urlStrings = {"turn:turn.test:3478"}, .username = "user", .credential = "secret"}};
}

/// One screen packet that is a whole message.
inline Bytes packetOf(std::string_view message, std::uint32_t packetID = 0) {
  return packets(bytesOf(message), packetID)[0];
}

/// The statistics of a peer whose selected pair is named by the transport.
inline RouteReport routeVia(const std::string& localType, const std::string& remoteType) {
  return {.selectedCandidatePairId = "P",
          .pairs = {{.id = "P", .localCandidateId = "L", .remoteCandidateId = "R"}},
          .candidates = {{"L", localType}, {"R", remoteType}}};
}

/// A transport among fakes, in virtual time. What its owner hears is noted in `heard`.
class WebRTCTransportTest : public ::testing::Test {
 protected:
  /// Work that waits in a queue holds what holds the queue: none may be left.
  void TearDown() override {
    transport.reset();
    settle();
  }

  using Profile = WebRTCTransport::Profile;

  std::shared_ptr<WebRTCTransport> make(TransportRole role, Profile profile = Profile::plain) {
    transport = WebRTCTransport::create(
        {.stateQueue = stateSide,
         .mainQueue = mainSide,
         .peers = factory,
         .relay = relay,
         .cloud = cloud,
         .rememberIceServers = [this](const auto& servers) { remembered.push_back(servers); },
         .log = Logger(sink, "webrtc")},
        role, "ROOM", profile);
    listen(*transport);
    return transport;
  }
  void start(TransportRole role, Profile profile = Profile::plain) {
    make(role, profile)->start(stunOnly());
    settle();
    heard.clear();
  }
  /// A phone that was answered and whose control channel is open.
  void startConnectedOfferer(Profile profile = Profile::plain) {
    start(TransportRole::offerer, profile);
    relay->opens();
    relay->receives(answerSignal("A"));
    settle();
    control().becomes(DataChannelState::open);
    settle();
  }
  /// A computer that answered an offer; its control channel is open, and held by `remoteControl`.
  void startConnectedAnswerer() {
    start(TransportRole::answerer);
    relay->opens();
    relay->receives(offerSignal("O"));
    settle();
    remoteControl = connectFromAfar("tevanto");
  }
  /// A channel that the other side opens.
  std::shared_ptr<FakeDataChannel> connectFromAfar(const std::string& label) {
    auto channel = std::make_shared<FakeDataChannel>(label);
    peer()->opens(channel);
    settle();
    return channel;
  }

  std::shared_ptr<FakePeerConnection> peer() const { return factory->newest(); }
  FakeDataChannel& control() const { return peer()->channel("tevanto"); }
  void settle() { main->runPending(); }
  void pass(SerialQueue::Duration time) { main->advance(time); }
  void signal(const SignalMessage& message) {
    relay->receives(message);
    settle();
  }
  void signalViaCloud(const SignalMessage& message) {
    cloud->delivers(message);
    settle();
  }
  void ice(IceConnectionState now) {
    peer()->says(now);
    settle();
  }
  std::vector<std::string> takeHeard() { return std::exchange(heard, {}); }
  /// The lines that were logged since the last call.
  std::vector<std::string> takeLog() {
    std::vector<std::string> lines;
    const auto all = sink->lines();
    for (; logged < all.size(); ++logged) {
      EXPECT_EQ(all[logged].text.substr(0, 8), "webrtc: ");
      lines.push_back(all[logged].text.substr(8));
    }
    return lines;
  }
  bool wasLogged(const std::string& line) {
    const auto lines = takeLog();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  void listen(WebRTCTransport& to) {
    const auto note = [this](const std::string& text) {
      EXPECT_TRUE(main->isCurrent()) << text << " was not told on the main queue";
      heard.push_back(text);
    };
    to.onHandshakeStarted = [=] { note("handshake"); };
    to.onChannelState = [=](ChannelState now) {
      note(now == ChannelState::ready         ? "ready"
           : now == ChannelState::interrupted ? "interrupted"
                                              : "failed");
    };
    to.onScreenChannelState = [=](bool isOpen) { note(isOpen ? "screen open" : "screen closed"); };
    to.onRelayRouteChanged = [=](bool isRelayed) { note(isRelayed ? "relayed" : "direct"); };
    to.onRelayScreenBytesReceived = [=](std::uint64_t bytes) {
      note(std::to_string(bytes) + " relayed bytes");
    };
    to.onMessage = [=](const RemoteMessage& message) { note("message " + message.type); };
    to.onScreenData = [=](std::span<const std::byte> data) { note("screen data " + textOf(data)); };
  }

  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::shared_ptr<ManualQueue> main = std::make_shared<ManualQueue>("main", clock);
  std::shared_ptr<ManualQueue> state = std::make_shared<ManualQueue>("tevanto.webrtc.transport", clock);
  std::shared_ptr<ManualQueue> engine = std::make_shared<ManualQueue>("engine", clock);
  // What the transport has of the two queues.
  std::shared_ptr<SerialQueue> stateSide = state;
  std::shared_ptr<SerialQueue> mainSide = main;
  std::shared_ptr<FakePeerConnectionFactory> factory = std::make_shared<FakePeerConnectionFactory>(engine);
  std::shared_ptr<FakeRelaySignaling> relay = std::make_shared<FakeRelaySignaling>();
  std::shared_ptr<FakeCloudSignaling> cloud = std::make_shared<FakeCloudSignaling>();
  std::shared_ptr<RecordingLogSink> sink = std::make_shared<RecordingLogSink>();
  std::size_t logged = 0;
  std::vector<std::string> heard;
  std::vector<std::vector<RemoteIceServerConfig>> remembered;
  std::shared_ptr<FakeDataChannel> remoteControl;
  std::shared_ptr<WebRTCTransport> transport;
};

}  // namespace tevanto::test
