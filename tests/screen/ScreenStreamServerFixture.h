#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/settings/DeviceIdentity.h"
#include "remote/access/CompatibleAccess.h"
#include "screen/ScreenStreamServer.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/fakes/FakeDisplayCapture.h"
#include "tests/support/fakes/FakeEncoderSession.h"
#include "tests/support/fakes/FakeListenerFactory.h"
#include "tests/support/fakes/FakeScreenTransport.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::frameText;
using test::textOf;

class RecordingAdvertiser final : public ServiceAdvertiser {
 public:
  Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override {
    services.push_back(service);
    handler = std::move(onStatus);
    auto made = std::make_shared<int>();
    registration = made;
    return made;
  }
  std::vector<ServiceDescription> services;
  StatusHandler handler;
  std::weak_ptr<void> registration;
};

class FakePermission final : public ScreenCapturePermission {
 public:
  bool isGranted() override { return granted; }
  void request() override {}
  bool granted = true;
};

inline const std::string kParameterSets = frameText(parameterSetMessage(bytesOf("sps"), bytesOf("pps")));
inline const std::string kKeyFrame = frameText(videoFrameMessage(bytesOf("key"), true));
inline const std::string kDeltaFrame = frameText(videoFrameMessage(bytesOf("delta"), false));

/// A server in virtual time between a fake network, a fake display and a fake encoder.
class ScreenStreamServerTest : public ::testing::Test {
 protected:
  ScreenStreamServerTest() {
    defaults_.set(kPairingTokenKey, std::string("TOKEN")).ok();
    defaults_.set(kDeviceIDKey, std::string("DEVICE")).ok();
    encoders_.answers = true;
  }

  ~ScreenStreamServerTest() override { end(); }

  /// What is left on a queue would keep it and its connections alive.
  void end() {
    if (server_) server_->stop();
    run();
    server_.reset();
    run();
  }
  void make(std::uint16_t port = 0) {
    end();
    server_ = ScreenStreamServer::create(
        {.queue = queue_,
         .captureQueue = captureQueue_,
         .mainQueue = mainQueue_,
         .listeners = listeners_,
         .advertiser = advertiser_,
         .defaults = defaults_,
         .mayWatch = [this](const auto& token) { return CompatibleAccess(defaults_).allowsScreen(token); },
         .computerName = "Desk",
         .port = port},
        {capture_, encoders_, permission_});
  }
  void run() { queue_->runPending(); }
  void start() {
    make();
    server_->start();
    run();
  }
  std::shared_ptr<test::FakeTcpPeer> connect() {
    auto peer = listeners_.last->connect();
    run();
    return peer;
  }
  static Bytes hello(const std::string& token = "TOKEN", bool prefersLowBandwidth = false) {
    return helloMessage({token, 1170, 2532, prefersLowBandwidth});
  }
  void say(test::FakeTcpPeer& peer, const Bytes& message) {
    peer.send(frameText(message));
    run();
  }
  void say(ScreenTransport& transport, const Bytes& message) {
    mainQueue_->async([&] { transport.onScreenData(message); });
    run();
  }
  test::FakeCaptureStream& stream() { return *capture_.streams.back(); }
  /// A phone that mirrors over TCP.
  std::shared_ptr<test::FakeTcpPeer> mirror() {
    auto peer = connect();
    say(*peer, hello());
    stream().onStarted({});
    run();
    return peer;
  }
  std::shared_ptr<test::FakeScreenTransport> attach() {
    auto transport = std::make_shared<test::FakeScreenTransport>();
    mainQueue_->sync([&] { server_->attach(transport); });
    run();
    return transport;
  }
  void picture(PresentationTime time = 0ms) {
    stream().deliverPicture(time);
    run();
  }
  void expectIdle(const std::string& status = "") {
    EXPECT_FALSE(server_->isStreaming.get());
    EXPECT_EQ(server_->statusText.get(), status);
    EXPECT_EQ(stream().stops, 1);
  }

  std::shared_ptr<test::ManualClock> clock_ = std::make_shared<test::ManualClock>();
  std::shared_ptr<test::ManualQueue> queue_ =
      std::make_shared<test::ManualQueue>("tevanto.screen.server", clock_);
  std::shared_ptr<test::ManualQueue> captureQueue_ =
      std::make_shared<test::ManualQueue>("tevanto.screen.capture", clock_);
  std::shared_ptr<test::ManualQueue> mainQueue_ = std::make_shared<test::ManualQueue>("main", clock_);
  test::FakeListenerFactory listeners_;
  RecordingAdvertiser advertiser_;
  test::FakeUserDefaults defaults_;
  test::FakeDisplayCapture capture_;
  test::FakeEncoderSessionFactory encoders_;
  FakePermission permission_;
  std::shared_ptr<ScreenStreamServer> server_;
};

}  // namespace tevanto
