#include "tests/screen/ScreenStreamServerFixture.h"

namespace tevanto {
namespace {

/// The last session's end, in each way that there is; what it held is watched, not kept.
class NobodyWatches : public ScreenStreamServerTest {
 protected:
  struct Held {
    std::weak_ptr<CaptureStream> stream;
    std::weak_ptr<EncoderSession> encoder;
    std::weak_ptr<const PixelBuffer> picture;
  };

  std::shared_ptr<test::FakeScreenTransport> mirrorOverTransport() {
    auto transport = attach();
    say(*transport, hello());
    stream().onStarted({});
    run();
    return transport;
  }
  /// A picture was sent, and would be made finer a moment later; the next one is on its way.
  Held inTheMiddle() {
    picture();
    EXPECT_GT(captureQueue_->pendingCount(), 0u) << "the picture is to be made finer";
    stream().deliverPicture(66ms);
    EXPECT_TRUE(server_->isStreaming.get());
    return {capture_.streams.back(), encoders_.made.back().session, encoders_.last().frames.back().picture};
  }
  void expectNothingIsHeld(const Held& held) {
    capture_.streams.clear();
    encoders_.made.clear();
    queue_->advance(1s);
    EXPECT_TRUE(held.stream.expired()) << "the display is captured";
    EXPECT_TRUE(held.encoder.expired()) << "an encoder is held";
    EXPECT_TRUE(held.picture.expired()) << "a picture is held";
    EXPECT_EQ(captureQueue_->pendingCount(), 0u);
    EXPECT_FALSE(server_->isStreaming.get());
    // And nothing begins again by itself.
    const auto lists = capture_.lists;
    queue_->advance(1h);
    EXPECT_EQ(capture_.lists, lists);
    EXPECT_EQ(capture_.streams.size(), 0u);
    EXPECT_EQ(encoders_.made.size(), 0u);
  }
};

TEST_F(NobodyWatches, aSecondAfterAPhoneOnTheNetworkHasGoneNothingIsHeld) {
  const std::pair<const char*, std::function<void(test::FakeTcpPeer&)>> endings[] = {
      {"it says stop", [](auto& peer) { peer.send(frameText(screenMessage(ScreenMessageType::stop))); }},
      {"its connection ends", [](auto& peer) { peer.endStream(); }},
      {"its connection fails", [](auto& peer) { peer.fail(); }},
      {"what it sends is no frame", [](auto& peer) { peer.send("\xFF\xFF\xFF\xFF"); }},
      {"its token is not the stored one any more",
       [](auto& peer) { peer.send(frameText(hello("ANOTHER"))); }},
      {"the capture fails", [this](auto&) { stream().handlers.onStopped("gone"); }},
      {"the server stops", [this](auto&) { server_->stop(); }},
  };
  for (const auto& [name, end] : endings) {
    SCOPED_TRACE(name);
    start();
    const auto peer = mirror();
    const auto held = inTheMiddle();
    end(*peer);
    run();
    expectNothingIsHeld(held);
  }
}

TEST_F(NobodyWatches, aSecondAfterAPhoneFarAwayHasGoneNothingIsHeld) {
  using Transport = std::shared_ptr<test::FakeScreenTransport>;
  const std::pair<const char*, std::function<void(Transport&)>> endings[] = {
      {"it says stop",
       [](auto& transport) { transport->onScreenData(screenMessage(ScreenMessageType::stop)); }},
      {"its channel closes", [](auto& transport) { transport->onScreenChannelState(false); }},
      {"its transport is detached", [this](auto& transport) { server_->detach(transport); }},
      {"its transport goes with its channel",
       [](auto& transport) {
         transport->onScreenChannelState(false);
         transport.reset();
       }},
      {"the server stops", [this](auto&) { server_->stop(); }},
  };
  for (const auto& [name, end] : endings) {
    SCOPED_TRACE(name);
    start();
    auto transport = mirrorOverTransport();
    const auto held = inTheMiddle();
    mainQueue_->async([&, ending = &end] { (*ending)(transport); });
    run();
    expectNothingIsHeld(held);
  }
}

TEST_F(NobodyWatches, ofTwoPhonesInTurnTheSecondOnesEndCounts) {
  start();
  mirror();
  const auto first = inTheMiddle();
  const auto second = mirror();
  const auto held = inTheMiddle();
  EXPECT_TRUE(server_->isStreaming.get());
  second->endStream();
  run();
  expectNothingIsHeld(held);
  EXPECT_TRUE(first.stream.expired() && first.encoder.expired() && first.picture.expired());
}

// The encoder is busy with a picture when the phone goes: what it puts out later is the last that happens.
TEST_F(NobodyWatches, aPictureThatWasBeingEncodedChangesNothing) {
  encoders_.answers = false;
  start();
  const auto peer = mirror();
  picture();
  auto late = encoders_.last().frames.back();
  const Held held{capture_.streams.back(), encoders_.made.back().session, late.picture};
  late.picture.reset();
  say(*peer, screenMessage(ScreenMessageType::stop));
  test::FakeEncoderSession::putOut(late, true);
  run();
  EXPECT_EQ(peer->received, "");
  expectNothingIsHeld(held);
}

}  // namespace
}  // namespace tevanto
