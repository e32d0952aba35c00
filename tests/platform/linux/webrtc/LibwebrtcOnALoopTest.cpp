// The end of an engine that signals on a loop of the program, and what is asked of its peers there.

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "core/queue/EventLoop.h"
#include "platform/linux/webrtc/LibwebrtcPeerFactory.h"

namespace tevanto {
namespace {

class Nobody final : public PeerConnectionObserver {
 public:
  void peerDidChangeIceConnectionState(IceConnectionState /*state*/) override {}
  void peerDidChangeIceGatheringState(IceGatheringState /*state*/) override {}
  void peerDidGenerateCandidate(const IceCandidate& /*candidate*/) override {}
  void peerDidOpenDataChannel(std::shared_ptr<DataChannel> /*channel*/) override {}
};

/// A loop, and a peer with a channel of an engine that is theirs alone from now on.
struct LastPeer {
  LastPeer() {
    PeerEngineOptions options;
    options.includeLoopback = true;
    options.signalingQueue = loop->makeQueue("peer-signaling");
    LibwebrtcPeerFactory factory(options);
    state->sync([&] {
      peer = factory.create({}, nobody);
      channel = peer->createDataChannel("tevanto", {});
    });
  }
  void release() {
    channel = nullptr;
    peer = nullptr;
  }

  const std::shared_ptr<EventLoop> loop = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> state = loop->makeQueue("state");
  const std::shared_ptr<Nobody> nobody = std::make_shared<Nobody>();
  std::shared_ptr<PeerConnection> peer;
  std::shared_ptr<DataChannel> channel;
};

TEST(LibwebrtcOnALoop, endsInALaterTurnWhereTheLastReferenceGoesOnTheLoop) {
  LastPeer last;
  last.state->sync([&] { last.release(); });
  // Behind the turns in which peer, channel and engine end.
  for (int turn = 0; turn < 3; ++turn) last.state->sync([] {});
  // So that there is room for the next.
  PeerEngineOptions options;
  options.signalingQueue = last.loop->makeQueue("peer-signaling");
  LibwebrtcPeerFactory next(options);
  last.state->sync([&] { last.peer = next.create({}, last.nobody); });
  EXPECT_NE(last.peer, nullptr);
  last.release();
}

TEST(LibwebrtcOnALoop, endsWhereItsLoopStopsAtThatMoment) {
  for (int round = 0; round < 30; ++round) {
    LastPeer last;
    last.state->sync([&] { last.release(); });
    last.loop->stop();
  }
}

TEST(LibwebrtcOnALoop, endsBehindItsLoop) {
  LastPeer last;
  last.loop->stop();
  last.release();
}

TEST(LibwebrtcOnALoop, opensNoChannelOnceThePeerIsClosed) {
  LastPeer last;
  last.state->sync([&] {
    last.peer->close();
    EXPECT_EQ(last.peer->createDataChannel("another", {}), nullptr);
  });
}

}  // namespace
}  // namespace tevanto
