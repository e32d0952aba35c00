#include "app/ipc/IpcRequestHandler.h"

#include <gmock/gmock.h>

#include "app/runtime/MacAppDelegate.h"
#include "tests/app/runtime/RuntimeFixture.h"

namespace tevanto {
namespace {

using ::testing::ElementsAre;

using test::Steps;

class IpcRequestHandlerTest : public test::RuntimeFixture {
 protected:
  IpcRequestHandlerTest() {
    application.applicationDidFinishLaunching();
    main->runPending();
  }

  IpcReply ask(IpcRequest request) {
    const auto reply = decodeIpcReply(control.answer(encodeIpcRequest(request)));
    EXPECT_TRUE(reply);
    return reply.value_or(IpcReply{});
  }

  TevantoMacRuntime runtime{factories()};
  MacAppDelegate application{desktop, runtime};
  int reloads = 0;
  bool lostDisplay = false;
  IpcRequestHandler control{{runtime, application, defaults, "desk", [] { return Steps{"192.0.2.7"}; },
                             [this] { ++reloads; },
                             [this](const std::string& token) { desktop.steps.push_back("token " + token); },
                             [this] { return lostDisplay; }}};
};

TEST_F(IpcRequestHandlerTest, tellsTheStatusOfTheServices) {
  sources.setBattery(64, PowerSources::kAcPower);
  runtime.power().refreshBattery();
  const auto reply = ask({IpcRequest::Kind::status});
  ASSERT_TRUE(reply.ok && reply.status);
  EXPECT_EQ(reply.status->pairingCode, runtime.server().pairingCode.get());
  EXPECT_EQ(reply.status->statusText, "Waiting for iPhone");
  EXPECT_FALSE(reply.status->isClientConnected);
  EXPECT_FALSE(reply.status->isPaired);
  EXPECT_TRUE(reply.status->isAccessibilityTrusted);
  EXPECT_EQ(reply.status->deviceID, defaults.string("tevantoDeviceID"));
  EXPECT_EQ(reply.status->hostName, "desk");
  EXPECT_THAT(reply.status->addresses, ElementsAre("192.0.2.7"));
  EXPECT_EQ(reply.status->remotePort, MacRemoteServer::kDefaultPort);
  EXPECT_TRUE(reply.status->isStreaming);
  EXPECT_EQ(reply.status->screenStatusText, "Mirroring to iPhone");
  EXPECT_TRUE(reply.status->isScreenRecordingTrusted);
  EXPECT_EQ(reply.status->encoder, "libx264");
  EXPECT_EQ(reply.status->screenPort, 4711);
  EXPECT_FALSE(reply.status->keepAwakeOn);
  EXPECT_EQ(reply.status->batteryPercent, 64);
  EXPECT_EQ(reply.status->keepAwakeStatusText, "Keep Awake off");
  EXPECT_EQ(reply.status->launchAtLoginStatusText, "Install in Applications");
}

TEST_F(IpcRequestHandlerTest, knowsWhetherAPhoneIsPairedAndConnected) {
  ASSERT_TRUE(defaults.set("remotePairingToken", std::string("token")));
  connectPhone();
  const auto reply = ask({IpcRequest::Kind::status});
  ASSERT_TRUE(reply.status);
  EXPECT_TRUE(reply.status->isPaired);
  EXPECT_TRUE(reply.status->isClientConnected);
  EXPECT_EQ(reply.status->statusText, "Authenticating iPhone");
}

TEST_F(IpcRequestHandlerTest, switchesKeepAwake) {
  auto reply = ask({IpcRequest::Kind::keepAwake, true});
  ASSERT_TRUE(reply.ok && reply.status);
  EXPECT_TRUE(reply.status->keepAwakeOn);
  EXPECT_EQ(assertions.held.size(), 1U);
  reply = ask({IpcRequest::Kind::keepAwake, false});
  ASSERT_TRUE(reply.ok && reply.status);
  EXPECT_FALSE(reply.status->keepAwakeOn);
  EXPECT_TRUE(assertions.held.empty());
}

TEST_F(IpcRequestHandlerTest, saysWhyKeepAwakeWasRefused) {
  sources.setBattery(20, PowerSources::kBatteryPower);
  runtime.power().refreshBattery();
  const auto reply = ask({IpcRequest::Kind::keepAwake, true});
  EXPECT_FALSE(reply.ok);
  EXPECT_EQ(reply.error, "Battery too low (20%) to keep awake");
}

TEST_F(IpcRequestHandlerTest, showsTheSetupWindow) {
  desktop.close();
  desktop.takeSteps();
  EXPECT_TRUE(ask({.kind = IpcRequest::Kind::showSetupWindow, .activationToken = "from-menu"}).ok);
  EXPECT_THAT(desktop.steps, ElementsAre("token from-menu", "regular", "regular", "front", "activate"));
}

TEST_F(IpcRequestHandlerTest, reloadsTheDefaults) {
  EXPECT_TRUE(ask({IpcRequest::Kind::reloadDefaults}).ok);
  EXPECT_EQ(reloads, 1);
}

TEST_F(IpcRequestHandlerTest, givesWayOnlyWithoutADisplay) {
  EXPECT_FALSE(ask({IpcRequest::Kind::giveWay}).ok);
  lostDisplay = true;
  EXPECT_TRUE(ask({IpcRequest::Kind::giveWay}).ok);
}

TEST_F(IpcRequestHandlerTest, answersNonsenseWithWhatIsWrong) {
  EXPECT_EQ(control.answer("nonsense"),
            R"({"ok":false,"error":"A request is one JSON object on one line."})");
}

}  // namespace
}  // namespace tevanto
