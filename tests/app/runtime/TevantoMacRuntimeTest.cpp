#include "app/runtime/TevantoMacRuntime.h"

#include <gmock/gmock.h>

#include "app/runtime/MacAppDelegate.h"
#include "tests/app/runtime/RuntimeFixture.h"

namespace tevanto {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using test::Steps;

class Runtime : public test::RuntimeFixture {};

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
    server->setAwayAccess({.makeAnswerer = answerers.factory()});
    return server;
  };
  std::weak_ptr<test::RecordingScreen> kept;
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
  EXPECT_THAT(desktop.steps, ElementsAre("regular", "make", "center", "front", "activate"));
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
              ElementsAre("regular", "activate", "regular", "make", "center", "front", "activate"));
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

}  // namespace
}  // namespace tevanto
