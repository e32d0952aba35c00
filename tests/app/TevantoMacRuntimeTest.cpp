#include "app/TevantoMacRuntime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/CompanionControl.h"
#include "app/MacAppDelegate.h"
#include "app/MacSetupWindowPresenter.h"
#include "app/ScreenService.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "remote/MacRemoteServer.h"
#include "tests/support/FakeAccessibilityPermission.h"
#include "tests/support/FakeAwayTransport.h"
#include "tests/support/FakeListenerFactory.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/FakePowerSources.h"
#include "tests/support/FakeScriptHost.h"
#include "tests/support/FakeServiceAdvertiser.h"
#include "tests/support/FakeSleepAssertions.h"
#include "tests/support/FakeUserDefaults.h"
#include "tests/support/FakeUserPreferences.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/RecordingInputEvents.h"

namespace tevanto {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using Steps = std::vector<std::string>;

class RecordingScreen final : public ScreenService {
 public:
  explicit RecordingScreen(std::function<void()> onStart) : onStart_(std::move(onStart)) {}
  void start() override { onStart_(); }
  void stop() override { ++stops; }
  void attach(const std::shared_ptr<ScreenTransport>& transport) override { attached = transport; }
  void detach(const std::shared_ptr<ScreenTransport>&) override { attached.reset(); }
  ScreenServiceState state() const override { return {true, "Mirroring to iPhone", true, "libx264", 4711}; }
  std::shared_ptr<void> observe(std::function<void()>) override { return nullptr; }
  void requestScreenRecording() override {}
  int stops = 0;
  std::weak_ptr<ScreenTransport> attached;

 private:
  const std::function<void()> onStart_;
};

class NotingLoginItem final : public LoginItem {
 public:
  explicit NotingLoginItem(std::function<void()> onStatus) : onStatus_(std::move(onStatus)) {}
  LoginItemStatus status() override {
    onStatus_();
    return LoginItemStatus::notFound;
  }
  Result<void> registerItem() override { return {}; }
  Result<void> unregisterItem() override { return {}; }
  void openSettings() override {}

 private:
  const std::function<void()> onStatus_;
};

/// The desktop, as far as windows and the Dock go.
class RecordingDesktop final : public ApplicationPresence, public SetupWindowHost {
 public:
  void setActivationPolicy(ActivationPolicy policy) override {
    steps.push_back(policy == ActivationPolicy::regular ? "regular" : "accessory");
  }
  void activateIgnoringOtherApps() override { steps.emplace_back("activate"); }
  std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                          std::function<void()> onClose) override {
    steps.emplace_back("make");
    lastStyle = style;
    close = std::move(onClose);
    return std::make_unique<Window>(steps);
  }
  Steps takeSteps() { return std::exchange(steps, {}); }

  Steps steps;
  SetupWindowStyle lastStyle;
  std::function<void()> close;

 private:
  class Window final : public SetupWindow {
   public:
    explicit Window(Steps& steps) : steps_(steps) {}
    void centre() override { steps_.emplace_back("centre"); }
    void orderFrontAsKey() override { steps_.emplace_back("front"); }

   private:
    Steps& steps_;
  };
};

/// The real services on virtual time, with fakes where they touch the system.
class Runtime : public ::testing::Test {
 protected:
  // What is still to be told belongs to queues that the clock belongs to: nobody would free them.
  ~Runtime() override { main->runPending(); }

  TevantoMacRuntime::Factories factories() {
    return {
        .server = [this] { return made("server", makeServer()); },
        .screen =
            [this] {
              return made("screen", screen = std::make_shared<RecordingScreen>([this] {
                                      main->runPending();  // what the server was told before has happened
                                      note("screen");
                                    }));
            },
        .power =
            [this] { return made("power", std::make_shared<MacPowerManager>(main, assertions, sources)); },
        .launchAtLogin =
            [this] {
              return made("launchAtLogin",
                          std::make_shared<MacLaunchAtLoginController>(main, loginItem, defaults, Logger()));
            },
        .setupWindow =
            [this] {
              return made("setupWindow", std::make_shared<MacSetupWindowPresenter>(desktop, desktop));
            }};
  }

  template <class Service>
  std::shared_ptr<Service> made(const char* name, std::shared_ptr<Service> service) {
    creations.emplace_back(name);
    return service;
  }

  std::shared_ptr<MacRemoteServer> makeServer() {
    return MacRemoteServer::create(
        {.queue = network,
         .mainQueue = main,
         .shortcutQueue = shortcuts,
         .backgroundQueue = background,
         .listeners = listeners,
         .advertiser = advertiser,
         .defaults = defaults,
         .computerName = "desk"},
        {.input = std::make_shared<MacInputController>(events, preferences, workspace),
         .shortcuts = std::make_shared<MacShortcutRunner>(main, scripts, workspace, events, permission),
         .permission = permission});
  }

  void note(const std::string& step) {
    steps.push_back(step + " with " + std::to_string(listeners.made) + " listeners");
  }

  /// A phone that is connected to the running server.
  std::shared_ptr<test::FakeTcpPeer> connectPhone() {
    main->runPending();
    auto phone = listeners.last->connect();
    main->runPending();
    return phone;
  }

  std::shared_ptr<test::ManualClock> clock = std::make_shared<test::ManualClock>();
  std::shared_ptr<test::ManualQueue> main = std::make_shared<test::ManualQueue>("main", clock);
  std::shared_ptr<test::ManualQueue> network =
      std::make_shared<test::ManualQueue>("tevanto.remote.server", clock);
  std::shared_ptr<test::ManualQueue> shortcuts =
      std::make_shared<test::ManualQueue>("tevanto.shortcuts", clock);
  std::shared_ptr<test::ManualQueue> background =
      std::make_shared<test::ManualQueue>("tevanto.applications", clock);
  test::FakeListenerFactory listeners;
  test::FakeServiceAdvertiser advertiser;
  test::FakeUserDefaults defaults;
  test::RecordingInputEvents events;
  test::FakeUserPreferences preferences;
  test::FakeWorkspace workspace;
  test::FakeScriptHost scripts;
  test::FakeAccessibilityPermission permission;
  test::FakeSleepAssertions assertions;
  test::FakePowerSources sources;
  RecordingDesktop desktop;
  std::shared_ptr<RecordingScreen> screen;
  Steps creations;
  Steps steps;
  NotingLoginItem loginItem{[this] {
    main->runPending();
    note("login item");
  }};
};

TEST_F(Runtime, makesTheServicesInOrderAndStartsNone) {
  const TevantoMacRuntime runtime(factories());
  main->runPending();
  EXPECT_THAT(creations, ElementsAre("server", "screen", "power", "launchAtLogin", "setupWindow"));
  EXPECT_THAT(steps, ElementsAre());
  EXPECT_EQ(listeners.made, 0);
  EXPECT_THAT(desktop.steps, ElementsAre());
}

TEST_F(Runtime, startsTheServicesInOrder) {
  TevantoMacRuntime runtime(factories());
  runtime.start();
  ASSERT_GE(steps.size(), 2U);
  EXPECT_EQ(steps.front(), "login item with 0 listeners");
  EXPECT_EQ(steps.back(), "screen with 1 listeners");
}

TEST_F(Runtime, theServerGetsTheScreenBeforeItStartsAndDoesNotKeepItAlive) {
  test::FakeAnswerers answerers;
  auto made = factories();
  made.server = [&] {
    auto server = makeServer();
    server->setAwayRoad({.makeAnswerer = answerers.factory()});
    return server;
  };
  std::weak_ptr<RecordingScreen> kept;
  {
    TevantoMacRuntime runtime(made);
    runtime.start();
    main->runPending();
    ASSERT_TRUE(answerers.last());
    EXPECT_EQ(screen->attached.lock(), answerers.last()->screen);
    runtime.willTerminate();
    main->runPending();
    EXPECT_TRUE(screen->attached.expired());
    kept = screen;
  }
  screen.reset();
  EXPECT_TRUE(kept.expired());
}

TEST_F(Runtime, startsOnlyOnce) {
  TevantoMacRuntime runtime(factories());
  runtime.start();
  main->runPending();
  const auto before = steps;
  runtime.start();
  main->runPending();
  EXPECT_EQ(steps, before);
  EXPECT_EQ(listeners.made, 1);
}

TEST_F(Runtime, everyPowerChangeReachesThePhone) {
  TevantoMacRuntime runtime(factories());
  runtime.start();
  const auto phone = connectPhone();
  runtime.power().setKeepAwake(true);
  main->runPending();
  EXPECT_THAT(phone->received, HasSubstr(R"("type":"powerState")"));
  EXPECT_THAT(phone->received, HasSubstr(R"("keepAwakeOn":true)"));
}

TEST_F(Runtime, theServerCanSwitchKeepAwake) {
  TevantoMacRuntime runtime(factories());
  runtime.start();
  const auto phone = connectPhone();
  phone->send("{\"type\":\"command\",\"command\":{\"type\":\"setKeepAwake\",\"on\":true}}\n");
  main->runPending();
  EXPECT_TRUE(runtime.power().isKeepAwakeOn.get());
  EXPECT_THAT(phone->received, Not(HasSubstr("power unavailable")));
}

TEST_F(Runtime, powerDoesNotKeepTheServerAlive) {
  std::shared_ptr<MacPowerManager> power;
  std::weak_ptr<MacRemoteServer> server;
  auto made = factories();
  made.power = [&, makePower = made.power] { return power = makePower(); };
  made.server = [&, makeServer = made.server] {
    auto one = makeServer();
    server = one;
    return one;
  };
  {
    TevantoMacRuntime runtime(made);
    runtime.start();
    main->runPending();
    runtime.willTerminate();
    main->runPending();
  }
  main->runPending();
  EXPECT_TRUE(server.expired());
  EXPECT_TRUE(power->setKeepAwake(true)) << "a change after the server is gone does nothing";
}

TEST_F(Runtime, openingTheSetupWindowStartsTheServicesAndShowsIt) {
  TevantoMacRuntime runtime(factories());
  runtime.openSetupWindow();
  main->runPending();
  EXPECT_EQ(listeners.made, 1);
  EXPECT_THAT(desktop.steps, ElementsAre("regular", "make", "centre", "front", "activate"));
  EXPECT_EQ(desktop.lastStyle.x, 0);
  EXPECT_EQ(desktop.lastStyle.y, 0);
  EXPECT_EQ(desktop.lastStyle.width, 360);
  EXPECT_EQ(desktop.lastStyle.height, 520);
  EXPECT_EQ(desktop.lastStyle.title, "Tevanto");
  EXPECT_TRUE(desktop.lastStyle.closable);
  EXPECT_TRUE(desktop.lastStyle.miniaturizable);
  EXPECT_FALSE(desktop.lastStyle.resizable);
}

TEST_F(Runtime, openingTheSetupWindowTwiceReusesItAndStartsNothingTwice) {
  TevantoMacRuntime runtime(factories());
  runtime.openSetupWindow();
  main->runPending();
  desktop.takeSteps();
  const auto before = steps;
  runtime.openSetupWindow();
  main->runPending();
  EXPECT_THAT(desktop.steps, ElementsAre("regular", "front", "activate"));
  EXPECT_EQ(steps, before);
  EXPECT_EQ(listeners.made, 1);
}

TEST_F(Runtime, closingTheSetupWindowLeavesTheServicesRunningAndTheDock) {
  TevantoMacRuntime runtime(factories());
  runtime.openSetupWindow();
  main->runPending();
  desktop.takeSteps();
  desktop.close();
  main->runPending();
  EXPECT_THAT(desktop.steps, ElementsAre("accessory"));
  EXPECT_FALSE(listeners.last->cancelled);
  EXPECT_EQ(screen->stops, 0);

  desktop.takeSteps();
  runtime.openSetupWindow();
  EXPECT_THAT(desktop.steps, ElementsAre("regular", "front", "activate"))
      << "the closed window was not released";
}

TEST_F(Runtime, everyLaunchShowsTheSetupWindow) {
  TevantoMacRuntime runtime(factories());
  MacAppDelegate application(desktop, runtime);
  application.applicationDidFinishLaunching();
  EXPECT_THAT(desktop.steps,
              ElementsAre("regular", "activate", "regular", "make", "centre", "front", "activate"));
}

TEST_F(Runtime, openingTheApplicationAgainShowsTheSetupWindow) {
  TevantoMacRuntime runtime(factories());
  MacAppDelegate application(desktop, runtime);
  application.applicationDidFinishLaunching();
  desktop.close();
  desktop.takeSteps();
  EXPECT_TRUE(application.applicationShouldHandleReopen());
  EXPECT_THAT(desktop.steps, ElementsAre("regular", "regular", "front", "activate"));
}

TEST_F(Runtime, terminatingLetsGoOfWhatWouldOutlastTheProcess) {
  TevantoMacRuntime runtime(factories());
  MacAppDelegate application(desktop, runtime);
  application.applicationDidFinishLaunching();
  main->runPending();
  runtime.power().setKeepAwake(true);
  ASSERT_FALSE(assertions.held.empty());
  application.applicationWillTerminate();
  main->runPending();
  EXPECT_TRUE(assertions.held.empty());
  EXPECT_TRUE(listeners.last->cancelled);
  EXPECT_EQ(screen->stops, 1);
}

class Control : public Runtime {
 protected:
  Control() {
    application.applicationDidFinishLaunching();
    main->runPending();
  }

  ControlReply ask(ControlRequest request) {
    const auto reply = decodeControlReply(control.answer(encodeControlRequest(request)));
    EXPECT_TRUE(reply);
    return reply.value_or(ControlReply{});
  }

  TevantoMacRuntime runtime{factories()};
  MacAppDelegate application{desktop, runtime};
  int reloads = 0;
  bool lostDisplay = false;
  CompanionControl control{{runtime, application, defaults, "desk", [] { return Steps{"192.0.2.7"}; },
                            [this] { ++reloads; },
                            [this](const std::string& token) { desktop.steps.push_back("token " + token); },
                            [this] { return lostDisplay; }}};
};

TEST_F(Control, tellsTheStatusOfTheServices) {
  sources.setBattery(64, PowerSources::kAcPower);
  runtime.power().refreshBattery();
  const auto reply = ask({ControlRequest::Kind::status});
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

TEST_F(Control, knowsWhetherAPhoneIsPairedAndConnected) {
  ASSERT_TRUE(defaults.set("remotePairingToken", std::string("token")));
  connectPhone();
  const auto reply = ask({ControlRequest::Kind::status});
  ASSERT_TRUE(reply.status);
  EXPECT_TRUE(reply.status->isPaired);
  EXPECT_TRUE(reply.status->isClientConnected);
  EXPECT_EQ(reply.status->statusText, "Authenticating iPhone");
}

TEST_F(Control, switchesKeepAwake) {
  auto reply = ask({ControlRequest::Kind::keepAwake, true});
  ASSERT_TRUE(reply.ok && reply.status);
  EXPECT_TRUE(reply.status->keepAwakeOn);
  EXPECT_EQ(assertions.held.size(), 1U);
  reply = ask({ControlRequest::Kind::keepAwake, false});
  ASSERT_TRUE(reply.ok && reply.status);
  EXPECT_FALSE(reply.status->keepAwakeOn);
  EXPECT_TRUE(assertions.held.empty());
}

TEST_F(Control, saysWhyKeepAwakeWasRefused) {
  sources.setBattery(20, PowerSources::kBatteryPower);
  runtime.power().refreshBattery();
  const auto reply = ask({ControlRequest::Kind::keepAwake, true});
  EXPECT_FALSE(reply.ok);
  EXPECT_EQ(reply.error, "Battery too low (20%) to keep awake");
}

TEST_F(Control, showsTheSetupWindow) {
  desktop.close();
  desktop.takeSteps();
  EXPECT_TRUE(ask({.kind = ControlRequest::Kind::showSetupWindow, .activationToken = "from-menu"}).ok);
  EXPECT_THAT(desktop.steps, ElementsAre("token from-menu", "regular", "regular", "front", "activate"));
}

TEST_F(Control, reloadsTheDefaults) {
  EXPECT_TRUE(ask({ControlRequest::Kind::reloadDefaults}).ok);
  EXPECT_EQ(reloads, 1);
}

TEST_F(Control, givesWayOnlyWithoutADisplay) {
  EXPECT_FALSE(ask({ControlRequest::Kind::giveWay}).ok);
  lostDisplay = true;
  EXPECT_TRUE(ask({ControlRequest::Kind::giveWay}).ok);
}

TEST_F(Control, answersNonsenseWithWhatIsWrong) {
  EXPECT_EQ(control.answer("nonsense"),
            R"({"ok":false,"error":"A request is one JSON object on one line."})");
}

}  // namespace
}  // namespace tevanto
