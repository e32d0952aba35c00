// The whole path on real sockets and real threads: a display that never rests, an encoder on a thread of its
// own, and phones that come, go and stall. Run under ThreadSanitizer too.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include "core/queue/EventLoop.h"
#include "core/settings/DeviceIdentity.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "remote/access/CompatibleAccess.h"
#include "screen/ScreenStreamServer.h"
#include "screen/capture/CaptureEngine.h"
#include "screen/wire/FramedConnection.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/peers/ThreadedScreen.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/ProcessMemory.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::eventually;
using test::frameText;
using test::textOf;

class SilentAdvertiser final : public ServiceAdvertiser {
 public:
  Registration advertise(const ServiceDescription&, StatusHandler) override { return nullptr; }
};

class Granted final : public ScreenCapturePermission {
 public:
  bool isGranted() override { return true; }
  void request() override {}
};

/// Looks at the stream of one session and checks that a decoder could follow it: parameter sets before every
/// key frame, and no frame without the one that it refers to.
class FollowingDecoder {
 public:
  /// False when a check failed.
  bool take(std::span<const std::byte> message) {
    const auto body = message.subspan(1);
    if (screenMessageType(message) == ScreenMessageType::parameterSets) return handleParameterSets(body);
    return takeFrame(body);
  }

  int frames = 0;
  int keyframes = 0;
  int gaps = 0;

 private:
  bool handleParameterSets(std::span<const std::byte> body) {
    const auto sets = decodeParameterSets(body);
    EXPECT_TRUE(sets);
    announced_ = sets ? readBigEndian<std::uint32_t>(sets->sps) : 0;
    return sets.has_value();
  }

  bool takeFrame(std::span<const std::byte> body) {
    const auto frame = decodeVideoFrame(body);
    EXPECT_TRUE(frame && frame->data.size() >= 4);
    if (!frame || frame->data.size() < 4) return false;
    const auto number = readBigEndian<std::uint32_t>(frame->data);
    EXPECT_TRUE(frames == 0 || number > last_) << last_ << " then " << number;
    if (number != last_ + 1) ++gaps;
    EXPECT_TRUE(frame->isKeyframe || (frames > 0 && number == last_ + 1)) << last_ << " then " << number;
    EXPECT_TRUE(!frame->isKeyframe || announced_ == number);
    keyframes += frame->isKeyframe;
    ++frames;
    last_ = number;
    return !::testing::Test::HasFailure();
  }

  std::uint32_t announced_ = 0;
  std::uint32_t last_ = 0;
};

/// A phone on the local network.
class Phone : public FollowingDecoder {
 public:
  explicit Phone(std::uint16_t port) : socket_(test::RawSocket::connectTo(port)) {
    const int small = 64 * 1024;
    ::setsockopt(socket_.fd(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
  }

  /// A server that has just closed the connection shows when reading.
  void say(const Bytes& message) { static_cast<void>(socket_.send(frameText(message))); }

  /// Reads one message and checks it; false when the stream ended or a check failed.
  bool readMessage() {
    const auto header = socket_.receive(4);
    if (header.size() < 4) return false;
    const auto length = readBigEndian<std::uint32_t>(std::as_bytes(std::span(header.data(), header.size())));
    const auto message = bytesOf(socket_.receive(length));
    return message.size() == length && take(message);
  }

  /// Reads on until `condition`.
  bool readUntil(const std::function<bool()>& condition) {
    while (!condition()) {
      if (!readMessage()) return false;
    }
    return true;
  }

 private:
  test::RawSocket socket_;
};

/// A transport to a phone away, that refuses every tenth frame.
class ThreadedTransport final : public ScreenTransport {
 public:
  bool sendScreenPayload(std::span<const std::byte> message) override {
    const std::lock_guard lock(mutex_);
    return decoder_.take(message);
  }
  bool sendScreenFrame(std::span<const std::byte> message, bool) override {
    const std::lock_guard lock(mutex_);
    if (++offered_ % 10 == 0) return false;
    return decoder_.take(message);
  }
  bool takesKeyFrame(std::size_t) const override { return true; }
  int frames() const {
    const std::lock_guard lock(mutex_);
    return decoder_.frames;
  }

 private:
  mutable std::mutex mutex_;
  FollowingDecoder decoder_;
  int offered_ = 0;
};

class ScreenStreamThreads : public ::testing::Test {
 protected:
  ScreenStreamThreads() {
    EXPECT_TRUE(defaults_.set(kPairingTokenKey, std::string("TOKEN")));
    EXPECT_TRUE(defaults_.set(kDeviceIDKey, std::string("DEVICE")));
    server_ = ScreenStreamServer::create(
        {.queue = queue_,
         .captureQueue = work_->makeQueue("tevanto.screen.capture"),
         .mainQueue = main_,
         .listeners = listeners_,
         .advertiser = advertiser_,
         .defaults = defaults_,
         .mayWatch = [this](const auto& token) { return CompatibleAccess(defaults_).allowsScreen(token); },
         .computerName = "Desk",
         .port = 0},
        {capture_, encoders_, permission_});
    server_->start();
    EXPECT_TRUE(eventually([&] { return server_->port.get() != 0; }));
  }
  ~ScreenStreamThreads() override {
    server_->stop();
    queue_->sync([] {});
    server_.reset();
    EXPECT_TRUE(rests());
    work_->stop();
    network_->stop();
  }
  /// Whether everything that a session started has ended.
  bool rests() {
    return eventually([&] { return capture_.running == 0 && encoders_.sessions == 0; });
  }
  static Bytes hello() { return helloMessage({"TOKEN", 1170, 2532, false}); }

  std::shared_ptr<EventLoop> network_ = EventLoop::background(1);
  std::shared_ptr<EventLoop> work_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = network_->makeQueue("tevanto.screen.server");
  std::shared_ptr<SerialQueue> main_ = network_->makeQueue("main");
  AsioTcpListenerFactory listeners_{network_, ListenScope::loopback};
  SilentAdvertiser advertiser_;
  Granted permission_;
  test::FakeUserDefaults defaults_;
  test::ThreadedDisplayCapture capture_;
  test::ThreadedEncoderFactory encoders_;
  std::shared_ptr<ScreenStreamServer> server_;
};

TEST_F(ScreenStreamThreads, aPhoneThatReadsGetsAStreamThatDecodes) {
  Phone phone(server_->port.get());
  phone.say(hello());
  EXPECT_TRUE(phone.readUntil([&] { return phone.frames >= 300; }));
  EXPECT_GE(phone.keyframes, 1);
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(ScreenStreamThreads, aPhoneThatStallsGetsAKeyFrameWhenItReadsOn) {
  Phone phone(server_->port.get());
  phone.say(hello());
  ASSERT_TRUE(phone.readUntil([&] { return phone.frames >= 5; }));
  // Each picture is encoded. Fifteen hundred of them have thirty megabytes at least, which no buffer on the
  // way can hold: some were refused then.
  const int encoded = encoders_.encoded;
  ASSERT_TRUE(eventually([&] { return encoders_.encoded >= encoded + 1500; }));
  const int keyframes = phone.keyframes;
  EXPECT_TRUE(phone.readUntil([&] { return phone.gaps > 0 && phone.frames >= 300; }));
  EXPECT_GT(phone.keyframes, keyframes);
}

TEST_F(ScreenStreamThreads, keyFrameRequestsAreAnsweredWhileFramesFlow) {
  Phone phone(server_->port.get());
  phone.say(hello());
  for (int request = 0; request < 20; ++request) {
    const int keyframes = phone.keyframes;
    phone.say(screenMessage(ScreenMessageType::keyframeRequest));
    ASSERT_TRUE(phone.readUntil([&] { return phone.keyframes > keyframes; }));
  }
}

TEST_F(ScreenStreamThreads, twoHundredSessionsLeaveNoDescriptorAndNoThreadBehind) {
  const auto session = [&](int i) {
    Phone phone(server_->port.get());
    phone.say(hello());
    ASSERT_TRUE(phone.readUntil([&] { return phone.frames >= 1 + i % 3; }));
    if (i % 2 == 0) phone.say(screenMessage(ScreenMessageType::stop));
  };
  session(0);
  ASSERT_TRUE(rests());
  const auto descriptorsBefore = test::openDescriptors();
  const auto threadsBefore = test::threadCount();
  for (int i = 0; i < 200 && !HasFatalFailure(); ++i) session(i);
  ASSERT_TRUE(rests());
  EXPECT_TRUE(eventually([&] {
    return test::openDescriptors() <= descriptorsBefore && test::threadCount() <= threadsBefore;
  })) << test::openDescriptors() - descriptorsBefore
      << " descriptors, " << test::threadCount() - threadsBefore << " threads";
}

TEST_F(ScreenStreamThreads, phonesThatPushEachOtherOutNeverMixTheirStreams) {
  std::vector<std::thread> phones;
  std::atomic<int> frames = 0;
  for (int i = 0; i < 4; ++i) {
    phones.emplace_back([&] {
      for (int round = 0; round < 15; ++round) {
        Phone phone(server_->port.get());
        // It may be replaced at any moment, before its hello too.
        phone.say(hello());
        phone.readUntil([&] { return phone.frames >= 4; });
        frames += phone.frames;
      }
    });
  }
  for (auto& phone : phones) phone.join();
  EXPECT_GT(frames, 0);
}

TEST_F(ScreenStreamThreads, transportsMayComeAndGoWhileFramesFlow) {
  for (int round = 0; round < 40 && !HasFailure(); ++round) {
    const auto transport = std::make_shared<ThreadedTransport>();
    main_->sync([&] {
      server_->attach(transport);
      transport->onScreenData(hello());
    });
    EXPECT_TRUE(eventually([&] { return transport->frames() >= 30; }));
    // In turn: given up, replaced by the next one, closed by its phone.
    main_->sync([&] {
      if (round % 3 == 0) server_->detach(transport);
      if (round % 3 == 2) transport->onScreenChannelState(false);
    });
  }
  main_->sync([&] { server_->attach(nullptr); });
  EXPECT_TRUE(rests());
}

TEST_F(ScreenStreamThreads, thePhoneThatIsHereAndThePhoneThatIsAwayTakeTheSessionFromEachOther) {
  for (int round = 0; round < 30 && !HasFailure(); ++round) {
    Phone phone(server_->port.get());
    phone.say(hello());
    EXPECT_TRUE(phone.readUntil([&] { return phone.frames >= 4; }));
    const auto transport = std::make_shared<ThreadedTransport>();
    main_->sync([&] {
      server_->attach(transport);
      transport->onScreenData(hello());
    });
    EXPECT_TRUE(eventually([&] { return transport->frames() >= 4; }));
  }
}

TEST_F(ScreenStreamThreads, startingAndStoppingTheServerUnderLoadIsSafe) {
  Phone phone(server_->port.get());
  phone.say(hello());
  ASSERT_TRUE(phone.readUntil([&] { return phone.frames >= 3; }));
  std::thread stopper([&] { server_->stop(); });
  server_->refreshScreenRecordingTrust();
  server_->stop();
  stopper.join();
  while (phone.readMessage()) {
  }
  EXPECT_TRUE(rests());
  EXPECT_FALSE(server_->isStreaming.get());
}

TEST(CaptureEngineThreads, mayBeStoppedAtAnyMoment) {
  auto loop = EventLoop::background(2);
  test::ThreadedDisplayCapture capture;
  capture.pause = std::chrono::microseconds(50);
  for (int round = 0; round < 100; ++round) {
    const auto queue = loop->makeQueue("tevanto.screen.capture");
    auto engine = std::make_shared<CaptureEngine>(capture, 64, 30, queue);
    std::atomic<int> pictures = 0;
    std::atomic<bool> stopped = false;
    engine->setPixelBufferHandler([&](const auto&, auto, auto, auto) { ++pictures; });
    engine->setErrorHandler([&](const std::string&) { ADD_FAILURE() << "an error after the stop"; });
    engine->start();
    std::thread refresher([&] {
      while (!stopped) engine->requestRefresh();
    });
    // Nothing is waited for in every other round, so that the stop meets the start.
    EXPECT_TRUE(round % 2 != 0 || eventually([&] { return pictures > 2; }));
    engine->stop();
    stopped = true;
    refresher.join();
    engine.reset();
    // The handlers refer to this frame: whatever was under way has to be over.
    EXPECT_TRUE(eventually([&] { return capture.running == 0; }));
    queue->sync([] {});
  }
  loop->stop();
}

TEST(FramedConnectionThreads, sendersNeverExceedTheBudgetTogether) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("tevanto.screen.server");
  auto listener = std::move(AsioTcpListenerFactory(loop, ListenScope::loopback).listen(0)).value();
  std::shared_ptr<FramedConnection> connection;
  std::atomic<bool> connected = false;
  listener->setStateHandler([](ListenerState) {});
  listener->setConnectionHandler([&](std::unique_ptr<TcpConnection> accepted) {
    connection = std::make_shared<FramedConnection>(std::move(accepted));
    connection->start(queue);
    connected = true;
  });
  listener->start(queue);
  const auto peer = test::RawSocket::connectTo(listener->port());
  ASSERT_TRUE(eventually([&] { return connected.load(); }));

  constexpr std::int64_t kBudget = 200'000;
  std::atomic<std::int64_t> accepted = 0;
  std::atomic<bool> exceeded = false;
  std::vector<std::thread> senders;
  for (int sender = 0; sender < 3; ++sender) {
    senders.emplace_back([&, sender] {
      const Bytes payload(static_cast<std::size_t>(1000 + sender * 7919));
      for (int i = 0; i < 3000; ++i) {
        if (connection->send(std::make_shared<Bytes>(payload), kBudget, false))
          accepted += static_cast<std::int64_t>(payload.size()) + 4;
        if (connection->pendingSendBytes() > kBudget) exceeded = true;
      }
    });
  }
  std::int64_t received = 0;
  std::thread reader([&] {
    while (true) {
      const auto bytes = peer.receiveSome();
      if (bytes.empty()) return;
      received += static_cast<std::int64_t>(bytes.size());
    }
  });
  for (auto& sender : senders) sender.join();
  EXPECT_TRUE(eventually([&] { return connection->pendingSendBytes() == 0; }));
  queue->sync([&] { connection->cancel(); });
  reader.join();
  EXPECT_FALSE(exceeded);
  EXPECT_GT(accepted, 0);
  EXPECT_EQ(received, accepted);
  queue->sync([&] {
    connection.reset();
    listener.reset();
  });
  loop->stop();
}

}  // namespace
}  // namespace tevanto
