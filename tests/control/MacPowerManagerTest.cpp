#include "control/MacPowerManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto kBattery = PowerSources::kBatteryPower;
constexpr auto kMains = PowerSources::kAcPower;

class MacPowerManagerTest : public testing::Test {
 protected:
  // What still waits for the observers holds the queue that holds it.
  ~MacPowerManagerTest() override {
    manager_.reset();
    mainQueue_->runPending();
  }

  MacPowerManager& make() {
    manager_ = std::make_unique<MacPowerManager>(mainQueue_, assertions_, sources_);
    manager_->onStateChanged = [this](RemoteMessage message) { reported_.push_back(std::move(message)); };
    return *manager_;
  }
  MacPowerManager& makeOn() {
    auto& manager = make();
    EXPECT_TRUE(manager.setKeepAwake(true));
    reported_.clear();
    return manager;
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> found;
    for (const auto& message : reported_) found.push_back(message.message.value_or("none"));
    return found;
  }

  std::shared_ptr<test::ManualQueue> mainQueue_ = std::make_shared<test::ManualQueue>("main");
  test::FakeSleepAssertions assertions_;
  test::FakePowerSources sources_;
  std::vector<RemoteMessage> reported_;
  std::unique_ptr<MacPowerManager> manager_;
};

TEST_F(MacPowerManagerTest, startsOff) {
  auto& manager = make();
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_TRUE(manager.isHelperReady.get());
  EXPECT_EQ(manager.statusText.get(), "Keep Awake off");
  EXPECT_EQ(manager.batteryPercent.get(), std::nullopt);
  EXPECT_EQ(manager.batteryFloor.get(), 20);
  EXPECT_EQ(manager.autoOffHours.get(), 8);
  EXPECT_THAT(assertions_.created, IsEmpty());
  EXPECT_EQ(mainQueue_->pendingCount(), 0u);
}

TEST_F(MacPowerManagerTest, readsTheBatteryWhenCreated) {
  sources_.setBattery(73, kMains);
  EXPECT_EQ(make().batteryPercent.get(), 73);
}

TEST_F(MacPowerManagerTest, roundsHalfAPercentUp) {
  sources_.sources = {{125, 1000, ""}};
  EXPECT_EQ(make().batteryPercent.get(), 13);
  sources_.sources = {{124, 1000, ""}};
  manager_->refreshBattery();
  EXPECT_EQ(manager_->batteryPercent.get(), 12);
}

TEST_F(MacPowerManagerTest, keepsThePercentBetween0And100) {
  sources_.sources = {{105, 100, ""}};
  EXPECT_EQ(make().batteryPercent.get(), 100);
  sources_.sources = {{std::numeric_limits<std::int64_t>::max(), 1, ""}};
  manager_->refreshBattery();
  EXPECT_EQ(manager_->batteryPercent.get(), 100);
  sources_.sources = {{-5, 100, ""}};
  manager_->refreshBattery();
  EXPECT_EQ(manager_->batteryPercent.get(), 0);
}

TEST_F(MacPowerManagerTest, skipsSourcesThatCannotBeCounted) {
  sources_.sources = {{50, 0, ""},  {50, -1, ""}, {std::nullopt, 100, ""}, {50, std::nullopt, ""},
                      {40, 80, ""}, {1, 100, ""}};
  EXPECT_EQ(make().batteryPercent.get(), 50);
}

TEST_F(MacPowerManagerTest, forgetsThePercentWhenTheBatteryIsGone) {
  sources_.setBattery(50, kMains);
  auto& manager = make();
  sources_.sources.clear();
  manager.refreshBattery();
  EXPECT_EQ(manager.batteryPercent.get(), std::nullopt);
}

TEST_F(MacPowerManagerTest, switchesOn) {
  sources_.setBattery(80, kBattery);
  auto& manager = make();
  EXPECT_TRUE(manager.setKeepAwake(true));
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
  EXPECT_EQ(manager.statusText.get(), "Keeps running after screen lock");
  EXPECT_THAT(assertions_.created,
              ElementsAre(std::pair<std::string, std::string>(
                  "PreventUserIdleSystemSleep", "Tevanto is keeping this Mac available after screen lock")));
  EXPECT_THAT(assertions_.held, SizeIs(1));
}

TEST_F(MacPowerManagerTest, reportsItsState) {
  sources_.setBattery(80, kBattery);
  make().setKeepAwake(true);
  RemoteMessage expected;
  expected.type = "powerState";
  expected.message = "Keeps running after screen lock";
  expected.keepAwakeOn = true;
  expected.helperReady = true;
  expected.batteryPercent = 80;
  EXPECT_THAT(reported_, ElementsAre(expected));
  EXPECT_EQ(manager_->stateMessage(), expected);
}

TEST_F(MacPowerManagerTest, leavesAnUnknownBatteryOutOfTheReport) {
  make().setKeepAwake(true);
  ASSERT_THAT(reported_, SizeIs(1));
  EXPECT_EQ(reported_[0].batteryPercent, std::nullopt);
}

TEST_F(MacPowerManagerTest, worksWithoutAListener) {
  auto& manager = make();
  manager.onStateChanged = nullptr;
  EXPECT_TRUE(manager.setKeepAwake(true));
  EXPECT_TRUE(manager.setKeepAwake(false));
}

TEST_F(MacPowerManagerTest, refusesAtTheFloorOnBattery) {
  sources_.setBattery(20, kBattery);
  auto& manager = make();
  EXPECT_FALSE(manager.setKeepAwake(true));
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_THAT(texts(), ElementsAre("Battery too low (20%) to keep awake"));
  EXPECT_THAT(assertions_.created, IsEmpty());
  EXPECT_EQ(mainQueue_->pendingCount() > 0, true);  // the news for the observers only
  mainQueue_->runPending();
  EXPECT_EQ(mainQueue_->pendingCount(), 0u);
}

TEST_F(MacPowerManagerTest, acceptsOnePercentAboveTheFloor) {
  sources_.setBattery(21, kBattery);
  EXPECT_TRUE(make().setKeepAwake(true));
}

TEST_F(MacPowerManagerTest, ignoresTheFloorOnMains) {
  sources_.setBattery(5, kMains);
  EXPECT_TRUE(make().setKeepAwake(true));
}

TEST_F(MacPowerManagerTest, acceptsAnUnknownBattery) {
  sources_.sources = {{std::nullopt, std::nullopt, std::string(kBattery)}};
  EXPECT_TRUE(make().setKeepAwake(true));
}

TEST_F(MacPowerManagerTest, isOnBatteryWhenAnySourceSaysSo) {
  sources_.sources = {{10, 100, std::string(kMains)}, {90, 100, std::string(kBattery)}};
  EXPECT_FALSE(make().setKeepAwake(true));
}

TEST_F(MacPowerManagerTest, judgesByTheLastReading) {
  sources_.setBattery(50, kBattery);
  auto& manager = make();
  sources_.setBattery(5, kBattery);
  EXPECT_TRUE(manager.setKeepAwake(true));
  EXPECT_EQ(manager.batteryPercent.get(), 5);  // read again once it is on
}

TEST_F(MacPowerManagerTest, honorsAnotherFloor) {
  sources_.setBattery(50, kBattery);
  auto& manager = make();
  manager.batteryFloor.set(50);
  EXPECT_FALSE(manager.setKeepAwake(true));
  EXPECT_THAT(texts(), ElementsAre("Battery too low (50%) to keep awake"));
}

TEST_F(MacPowerManagerTest, reportsAnAssertionThatFails) {
  assertions_.createCode = -536870206;
  auto& manager = make();
  EXPECT_FALSE(manager.setKeepAwake(true));
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_THAT(texts(), ElementsAre("Couldn't enable Keep Awake (-536870206)"));
}

TEST_F(MacPowerManagerTest, switchesOff) {
  auto& manager = makeOn();
  EXPECT_TRUE(manager.setKeepAwake(false));
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_THAT(assertions_.held, IsEmpty());
  EXPECT_THAT(texts(), ElementsAre("Keep Awake off"));
  mainQueue_->advance(100h);
  EXPECT_THAT(reported_, SizeIs(1));  // no timer is left
}

TEST_F(MacPowerManagerTest, reportsSwitchingOffWhenAlreadyOff) {
  EXPECT_TRUE(make().setKeepAwake(false));
  EXPECT_THAT(texts(), ElementsAre("Keep Awake off"));
}

TEST_F(MacPowerManagerTest, forgetsAnAssertionThatCannotBeReleased) {
  auto& manager = makeOn();
  std::vector<std::string> shown;
  const auto subscription =
      manager.statusText.observe([&](const std::string& text) { shown.push_back(text); });
  mainQueue_->runPending();
  shown.clear();
  assertions_.releaseCode = 7;
  manager.setKeepAwake(false);
  mainQueue_->runPending();
  EXPECT_THAT(shown, ElementsAre("Couldn't disable Keep Awake (7)", "Keep Awake off"));
  EXPECT_THAT(texts(), ElementsAre("Keep Awake off"));
  manager.setKeepAwake(true);
  EXPECT_THAT(assertions_.created, SizeIs(2));
}

TEST_F(MacPowerManagerTest, keepsTheAssertionWhenSwitchedOnAgain) {
  auto& manager = makeOn();
  EXPECT_TRUE(manager.setKeepAwake(true));
  EXPECT_THAT(assertions_.created, SizeIs(1));
}

TEST_F(MacPowerManagerTest, switchesItselfOffAfterTheHours) {
  auto& manager = makeOn();
  mainQueue_->advance(8h - 1s);
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
  mainQueue_->advance(1s);
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_THAT(assertions_.held, IsEmpty());
}

TEST_F(MacPowerManagerTest, hidesTheAutoOffTextBehindTheFinalOne) {
  auto& manager = makeOn();
  std::vector<std::string> shown;
  mainQueue_->runPending();
  const auto subscription =
      manager.statusText.observe([&](const std::string& text) { shown.push_back(text); });
  mainQueue_->advance(8h);
  EXPECT_THAT(texts(), ElementsAre("Keep Awake off"));
  EXPECT_THAT(shown, ElementsAre("Auto-off after 8h", "Keep Awake off"));
}

TEST_F(MacPowerManagerTest, startsTheHoursAnewWhenSwitchedOnAgain) {
  auto& manager = makeOn();
  mainQueue_->advance(7h);
  manager.setKeepAwake(true);
  mainQueue_->advance(7h + 59min);
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
  mainQueue_->advance(1min);
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
}

TEST_F(MacPowerManagerTest, staysOnForAtLeastAnHour) {
  for (const int hours : {0, -3, std::numeric_limits<int>::min()}) {
    auto& manager = make();
    manager.autoOffHours.set(hours);
    manager.setKeepAwake(true);
    mainQueue_->advance(1h - 1s);
    EXPECT_TRUE(manager.isKeepAwakeOn.get()) << hours;
    mainQueue_->advance(1s);
    EXPECT_FALSE(manager.isKeepAwakeOn.get()) << hours;
  }
}

TEST_F(MacPowerManagerTest, enduresAnAbsurdNumberOfHours) {
  auto& manager = make();
  manager.autoOffHours.set(std::numeric_limits<int>::max());
  manager.setKeepAwake(true);
  mainQueue_->advance(24h);
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
}

TEST_F(MacPowerManagerTest, readsTheBatteryEveryMinuteWhileOn) {
  sources_.setBattery(80, kBattery);
  auto& manager = makeOn();
  for (const int percent : {70, 60, 50}) {
    sources_.setBattery(percent, kBattery);
    mainQueue_->advance(59s);
    EXPECT_NE(manager.batteryPercent.get(), percent);
    mainQueue_->advance(1s);
    EXPECT_EQ(manager.batteryPercent.get(), percent);
  }
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
}

TEST_F(MacPowerManagerTest, switchesOffAtTheFloor) {
  sources_.setBattery(80, kBattery);
  auto& manager = makeOn();
  std::vector<std::string> shown;
  mainQueue_->runPending();
  const auto subscription =
      manager.statusText.observe([&](const std::string& text) { shown.push_back(text); });
  sources_.setBattery(20, kBattery);
  mainQueue_->advance(60s);
  EXPECT_FALSE(manager.isKeepAwakeOn.get());
  EXPECT_THAT(assertions_.held, IsEmpty());
  EXPECT_THAT(shown, ElementsAre("Battery floor hit (20%), turning off", "Keep Awake off"));
  EXPECT_THAT(texts(), ElementsAre("Keep Awake off"));
  EXPECT_EQ(reported_[0].batteryPercent, 20);
  mainQueue_->advance(1h);
  EXPECT_THAT(reported_, SizeIs(1));
}

TEST_F(MacPowerManagerTest, staysOnAtTheFloorOnMains) {
  sources_.setBattery(80, kMains);
  auto& manager = makeOn();
  sources_.setBattery(3, kMains);
  mainQueue_->advance(10min);
  EXPECT_TRUE(manager.isKeepAwakeOn.get());
}

TEST_F(MacPowerManagerTest, givesTheAssertionBackWhenTheProcessEnds) {
  auto& manager = makeOn();
  manager.appWillTerminate();
  EXPECT_THAT(assertions_.held, IsEmpty());
  EXPECT_THAT(reported_, IsEmpty());
}

TEST_F(MacPowerManagerTest, givesTheAssertionBackWhenDestroyed) {
  makeOn();
  manager_.reset();
  EXPECT_THAT(assertions_.held, IsEmpty());
  mainQueue_->advance(10h);  // its timers went with it
  EXPECT_THAT(reported_, IsEmpty());
}

}  // namespace
}  // namespace tevanto
