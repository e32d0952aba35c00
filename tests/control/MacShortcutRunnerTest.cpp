#include "control/MacShortcutRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <span>

#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto {
namespace {

using test::RecordedKey;
using test::RecordedMediaKey;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto* kReadVolume = "output volume of (get volume settings)";
constexpr auto* kReadMuted = "output muted of (get volume settings)";

RemoteCommand commandOf(std::string type) {
  RemoteCommand made;
  made.type = std::move(type);
  return made;
}

std::vector<std::byte> bytes(std::string_view text) {
  const auto view = std::as_bytes(std::span(text.data(), text.size()));
  return {view.begin(), view.end()};
}

ApplicationBundle app(std::string identifier, std::string displayName) {
  ApplicationBundle bundle;
  bundle.location = "/apps/" + identifier;
  bundle.fileName = "file-of-" + identifier;
  bundle.identifier = std::move(identifier);
  bundle.displayName = std::move(displayName);
  return bundle;
}

class MacShortcutRunnerTest : public testing::Test {
 protected:
  MacShortcutRunnerTest() {
    events_.onPost = [this] { postedOffTheMainQueue_ |= !mainQueue_->isCurrent(); };
  }
  void expect(const RemoteCommand& given, bool success, const std::string& message) {
    const auto result = runner_.run(given);
    EXPECT_EQ(result.success, success) << given.type;
    EXPECT_EQ(result.message, message) << given.type;
  }
  void setVolume(std::optional<double> level, const std::string& percent) {
    scripts_.sources.clear();
    scripts_.results["set volume output volume " + percent] = {true, "", {}};
    auto given = commandOf("setVolume");
    given.level = level;
    expect(given, true, "volume " + percent);
    EXPECT_THAT(scripts_.sources, ElementsAre("set volume output volume " + percent));
  }
  std::vector<std::string> names() {
    std::vector<std::string> found;
    for (const auto& info : runner_.installedApps()) found.push_back(info.name);
    return found;
  }

  std::shared_ptr<test::ManualQueue> mainQueue_ = std::make_shared<test::ManualQueue>("main");
  test::FakeScriptHost scripts_;
  test::FakeWorkspace workspace_;
  test::RecordingInputEvents events_;
  test::FakeAccessibilityPermission permission_;
  bool postedOffTheMainQueue_ = false;
  MacShortcutRunner runner_{mainQueue_, scripts_, workspace_, events_, permission_};
};

TEST_F(MacShortcutRunnerTest, handlesItsTwelveCommandsOnly) {
  for (const auto* type :
       {"setVolume", "toggleMute", "setBrightness", "powerSleep", "powerLock", "powerRestart",
        "powerShutdown", "powerLogout", "openApp", "mediaPlayPause", "mediaNext", "mediaPrevious"}) {
    EXPECT_TRUE(MacShortcutRunner::handles(type)) << type;
    EXPECT_NE(runner_.run(commandOf(type)).message, "unknown shortcut") << type;
  }
  for (const auto* type : {"", "click", "queryApps", "querySystemState", "setKeepAwake", "setvolume"}) {
    EXPECT_FALSE(MacShortcutRunner::handles(type)) << type;
    expect(commandOf(type), false, "unknown shortcut");
  }
}

TEST_F(MacShortcutRunnerTest, setsTheVolumeInPercent) {
  setVolume(1.7, "100");
  setVolume(-0.2, "0");
  setVolume(0.555, "56");
  setVolume(0.0, "0");
  setVolume(0.004, "0");
  setVolume(1.0, "100");
  setVolume(1e300, "100");
  setVolume(std::nullopt, "0");
}

TEST_F(MacShortcutRunnerTest, passesOnWhyAScriptFailed) {
  scripts_.results["set volume output volume 0"] = {false, "no sink", {}};
  expect(commandOf("setVolume"), false, "no sink");
  scripts_.results["set volume output volume 0"] = {false, "", {}};
  expect(commandOf("setVolume"), false, "script error");
  expect(commandOf("powerRestart"), false, "bad script");
}

TEST_F(MacShortcutRunnerTest, togglesMute) {
  scripts_.results["set volume output muted true"] = {true, "", {}};
  scripts_.results["set volume output muted false"] = {true, "", {}};
  scripts_.results[kReadMuted] = {true, "", false};
  expect(commandOf("toggleMute"), true, "muted true");
  scripts_.results[kReadMuted] = {true, "", true};
  expect(commandOf("toggleMute"), true, "muted false");
  EXPECT_THAT(scripts_.sources, ElementsAre(kReadMuted, "set volume output muted true", kReadMuted,
                                            "set volume output muted false"));
}

TEST_F(MacShortcutRunnerTest, takesAnUnreadableMuteForNotMuted) {
  scripts_.results["set volume output muted true"] = {true, "", {}};
  scripts_.results[kReadMuted] = {false, "gone", {}};
  expect(commandOf("toggleMute"), true, "muted true");
  scripts_.results["set volume output muted true"] = {false, "gone too", {}};
  expect(commandOf("toggleMute"), false, "gone too");
}

TEST_F(MacShortcutRunnerTest, refusesWhatThisVersionDoesNotControl) {
  expect(commandOf("setBrightness"), false, "brightness control unavailable in this version");
  expect(commandOf("powerSleep"), false, "sleep control unavailable in this version");
  EXPECT_THAT(scripts_.sources, IsEmpty());
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacShortcutRunnerTest, locksWithCommandControlQ) {
  expect(commandOf("powerLock"), true, "locking");
  EXPECT_THAT(events_.events, ElementsAre(RecordedKey{12, KeyDirection::down, 0x140000, {}, 1},
                                          RecordedKey{12, KeyDirection::up, 0x140000, {}, 1}));
  EXPECT_EQ(events_.sourcesMade, 1);
  EXPECT_FALSE(postedOffTheMainQueue_);
}

TEST_F(MacShortcutRunnerTest, doesNotLockWithoutThePermission) {
  permission_.trusted = false;
  expect(commandOf("powerLock"), false, "accessibility required");
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacShortcutRunnerTest, saysWhenTheLockKeysCannotBePressed) {
  for (const int failing : {0, 1}) {
    int post = 0;
    events_.fails = [&](int) { return post++ == failing; };
    expect(commandOf("powerLock"), false, "lock failed");
  }
}

TEST_F(MacShortcutRunnerTest, asksTheSystemForThePowerActions) {
  const std::pair<const char*, std::string> actions[] = {
      {"powerRestart", "restart"}, {"powerShutdown", "shut down"}, {"powerLogout", "log out"}};
  for (const auto& [type, action] : actions) {
    const auto source = "tell application \"System Events\" to " + action;
    scripts_.sources.clear();
    scripts_.results[source] = {true, "", {}};
    expect(commandOf(type), true, action);
    scripts_.results[source] = {false, "not allowed", {}};
    expect(commandOf(type), false, "not allowed");
    EXPECT_THAT(scripts_.sources, ElementsAre(source, source));
  }
}

TEST_F(MacShortcutRunnerTest, opensAndActivatesAnApplication) {
  workspace_.locations["org.example.Editor"] = "/apps/editor";
  auto given = commandOf("openApp");
  given.appId = "org.example.Editor";
  expect(given, true, "opening");
  using Opened = test::FakeWorkspace::Opened;
  EXPECT_THAT(workspace_.opened, ElementsAre(Opened{"/apps/editor", Workspace::Activation::activate}));
}

TEST_F(MacShortcutRunnerTest, saysWhenAnApplicationIsNotInstalled) {
  auto given = commandOf("openApp");
  expect(given, false, "app not found");
  given.appId = "org.example.Missing";
  expect(given, false, "app not found");
  EXPECT_THAT(workspace_.opened, IsEmpty());
}

TEST_F(MacShortcutRunnerTest, pressesMediaKeys) {
  expect(commandOf("mediaPlayPause"), true, "ok");
  expect(commandOf("mediaNext"), true, "ok");
  expect(commandOf("mediaPrevious"), true, "ok");
  std::vector<RecordedMediaKey> expected;
  for (const int key : {16, 17, 18}) {
    expected.push_back({static_cast<MediaKey>(key), KeyDirection::down});
    expected.push_back({static_cast<MediaKey>(key), KeyDirection::up});
  }
  EXPECT_EQ(events_.only<RecordedMediaKey>(), expected);
  EXPECT_FALSE(postedOffTheMainQueue_);
}

TEST_F(MacShortcutRunnerTest, takesWhatIsNoNumberForZeroAndWhatIsNoBooleanForFalse) {
  scripts_.results[kReadVolume] = {true, "", {}};  // missing value: the output has no volume of its own
  scripts_.results[kReadMuted] = {true, "", {}};
  auto state = runner_.volumeState();
  EXPECT_EQ(state.volume, 0.0);
  EXPECT_EQ(state.muted, false);
  scripts_.results[kReadVolume] = {true, "", true};
  scripts_.results[kReadMuted] = {true, "", 2};
  state = runner_.volumeState();
  EXPECT_EQ(state.volume, 0.01);
  EXPECT_EQ(state.muted, true);
}

TEST_F(MacShortcutRunnerTest, readsTheVolumeAsAFraction) {
  scripts_.results[kReadVolume] = {true, "", 42};
  scripts_.results[kReadMuted] = {true, "", true};
  const auto state = runner_.volumeState();
  EXPECT_EQ(state.volume, 0.42);
  EXPECT_EQ(state.muted, true);
}

TEST_F(MacShortcutRunnerTest, leavesOutWhatItCannotRead) {
  scripts_.results[kReadVolume] = {false, "no sink", {}};
  scripts_.results[kReadMuted] = {true, "", false};
  auto state = runner_.volumeState();
  EXPECT_EQ(state.volume, std::nullopt);
  EXPECT_EQ(state.muted, false);
  scripts_.results[kReadVolume] = {true, "", 7};
  scripts_.results[kReadMuted] = {false, "no sink", {}};
  state = runner_.volumeState();
  EXPECT_EQ(state.volume, 0.07);
  EXPECT_EQ(state.muted, std::nullopt);
}

TEST_F(MacShortcutRunnerTest, describesAnApplication) {
  auto bundle = app("org.example.Editor", "Editor");
  bundle.created = 1700000000.5;
  workspace_.folders = {{"/apps", {bundle}}};
  workspace_.icons[bundle.location] = bytes("\x89PNG");
  EXPECT_THAT(runner_.installedApps(),
              ElementsAre(RemoteAppInfo{"Editor", "org.example.Editor", "iVBORw==", 1700000000.5}));
}

TEST_F(MacShortcutRunnerTest, leavesOutAnIconOrDateThatItDoesNotHave) {
  auto timeless = app("b", "B");
  timeless.created = std::numeric_limits<double>::quiet_NaN();
  workspace_.folders = {{"/apps", {app("a", "A"), timeless}}};
  EXPECT_THAT(runner_.installedApps(), ElementsAre(RemoteAppInfo{"A", "a", std::nullopt, std::nullopt},
                                                   RemoteAppInfo{"B", "b", std::nullopt, std::nullopt}));
}

TEST_F(MacShortcutRunnerTest, namesAnApplicationByTheBestNameThatItHas) {
  auto display = app("1", "Display");
  display.bundleName = "Bundle";
  auto bundle = app("2", "");
  bundle.displayName.reset();
  bundle.bundleName = "Bundle";
  auto file = app("3", "");
  file.displayName.reset();
  workspace_.folders = {{"/apps", {display, bundle, file}}};
  EXPECT_THAT(names(), ElementsAre("Bundle", "Display", "file-of-3"));
}

TEST_F(MacShortcutRunnerTest, takesTheFirstOfEqualIdentifiers) {
  workspace_.folders = {{"/home", {app("x", "Mine")}}, {"/system", {app("x", "Theirs"), app("y", "Other")}}};
  EXPECT_THAT(names(), ElementsAre("Mine", "Other"));
}

TEST_F(MacShortcutRunnerTest, letsAHiddenEntryHideTheSameOneInALaterFolder) {
  auto hidden = app("x", "Hidden");
  hidden.hidden = true;
  workspace_.folders = {{"/home", {hidden}}, {"/system", {app("x", "Shadowed"), app("y", "Other")}}};
  EXPECT_THAT(names(), ElementsAre("Other"));
}

TEST_F(MacShortcutRunnerTest, survivesBrokenEntries) {
  auto nameless = app("1", "x");
  nameless.identifier.reset();
  auto empty = app("", "Empty");
  auto illFormed = app("\xff\xfe", "Ill-formed");
  auto oddName = app("2", "B\xff");
  workspace_.folders = {{"/apps", {nameless, empty, illFormed, oddName, app("3", "A")}}};
  EXPECT_THAT(names(), ElementsAre("A", "B\uFFFD"));
}

TEST_F(MacShortcutRunnerTest, sortsAsPeopleDoAndKeepsTheOrderOfEqualNames) {
  workspace_.folders = {{"/apps",
                         {app("1", "zebra"), app("2", "Same"), app("3", "apple"), app("4", "same"),
                          app("5", "Éclair"), app("6", "Banana"), app("7", "SAME"), app("8", "Fig")}}};
  EXPECT_THAT(names(), ElementsAre("apple", "Banana", "Éclair", "Fig", "Same", "same", "SAME", "zebra"));
}

}  // namespace
}  // namespace tevanto
