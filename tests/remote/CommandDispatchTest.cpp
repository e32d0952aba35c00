#include "remote/CommandDispatch.h"

#include <string>

#include <gtest/gtest.h>

#include "remote/AppListCache.h"
#include "tests/remote/RemoteServerFixture.h"

namespace tevanto {
namespace {

using test::Phone;
using Types = std::vector<std::string>;

class CommandDispatchTest : public test::RemoteServerTest {
 protected:
  void SetUp() override {
    RemoteServerTest::SetUp();
    workspace_.folders = {{"/apps", {application("org.b", "B"), application("org.a", "A")}}};
    server_->setPower(power_);
  }

  static ApplicationBundle application(const std::string& identifier, const std::string& name) {
    ApplicationBundle bundle;
    bundle.location = "/apps/" + name;
    bundle.fileName = name;
    bundle.identifier = identifier;
    bundle.created = 1000;
    return bundle;
  }
};

const RemoteMessage kDone{.type = "ack", .ok = true};
const RemoteMessage kState{.type = "systemState", .volume = 0.25, .muted = false};

TEST_F(CommandDispatchTest, injectsInputAndAcknowledges) {
  auto phone = pairedPhone();
  phone.send(command({.type = "movePointer", .dx = 3, .dy = 4}));
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kDone});
  EXPECT_EQ(events_.pointer, (PointerLocation{3, 4}));
}

TEST_F(CommandDispatchTest, handsEveryInputCommandToTheController) {
  auto phone = pairedPhone();
  for (const RemoteCommand& inner : std::vector<RemoteCommand>{
           {.type = "movePointer", .dx = 1, .dy = 1},
           {.type = "click", .clicks = 1, .button = "right"},
           {.type = "mouseDown"},
           {.type = "mouseUp"},
           {.type = "scroll", .dx = 0, .dy = 5},
           {.type = "keyPress", .key = "return", .modifiers = {{RemoteModifier::command}}},
           {.type = "selectAll"},
           {.type = "insertText", .text = "a"},
           {.type = "systemGesture", .gesture = "missionControl"}}) {
    events_.events.clear();
    workspace_.opened.clear();
    phone.send(command(inner));
    EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kDone}) << inner.type;
    EXPECT_FALSE(events_.events.empty() && workspace_.opened.empty() && inner.type != "systemGesture")
        << inner.type;
  }
  // A command that nobody knows is an input command that does nothing.
  events_.events.clear();
  phone.send(command({.type = "MovePointer", .dx = 1, .dy = 1}));
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kDone});
  EXPECT_TRUE(events_.events.empty());
}

TEST_F(CommandDispatchTest, movesThePointerBeforeTheAnswerIsWritten) {
  auto phone = pairedPhone();
  std::string answeredBefore = "unset";
  PointerLocation before{};
  events_.onPost = [&] {
    answeredBefore = phone.peer().received;
    before = events_.pointer;
  };
  phone.send(command({.type = "movePointer", .dx = 3, .dy = 4}));
  EXPECT_EQ(answeredBefore, "");
  EXPECT_EQ(before, (PointerLocation{3, 4}));
  EXPECT_EQ(phone.replies().size(), 1u);
}

TEST_F(CommandDispatchTest, answersManyCommandsOfOneReadInOrder) {
  auto phone = pairedPhone();
  std::string lines;
  for (int i = 0; i < 500; ++i) {
    ASSERT_TRUE(encodeRemoteMessage(command({.type = "movePointer", .dx = 1, .dy = 0}), lines));
    lines += '\n';
  }
  phone.sendLine(lines);
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>(500, kDone));
  EXPECT_EQ(events_.pointer.x, 500);
}

TEST_F(CommandDispatchTest, executesACommandWithoutATokenBeforeAnyPairing) {
  start();
  auto phone = connect();
  phone.send({.type = "command", .command = RemoteCommand{.type = "movePointer", .dx = 1, .dy = 1}});
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kDone});
  EXPECT_EQ(events_.pointer, (PointerLocation{1, 1}));
  phone.send(command({.type = "movePointer", .dx = 1, .dy = 1}));
  EXPECT_EQ(phone.replies(),
            (std::vector<RemoteMessage>{{.type = "ack", .ok = false, .message = "unauthorized"}}));
}

TEST_F(CommandDispatchTest, refusesEveryCommandWithoutTheToken) {
  auto phone = pairedPhone();
  for (const auto* type :
       {"movePointer", "setVolume", "queryApps", "setKeepAwake", "querySystemState", "nonsense"}) {
    for (const auto& token : std::vector<std::optional<std::string>>{std::nullopt, "", "wrong"}) {
      phone.send(
          {.type = "command", .token = token, .command = RemoteCommand{.type = type, .dx = 1, .on = true}});
      EXPECT_EQ(phone.replies(),
                (std::vector<RemoteMessage>{{.type = "ack", .ok = false, .message = "unauthorized"}}));
    }
  }
  EXPECT_TRUE(events_.events.empty());
  EXPECT_TRUE(scripts_.sources.empty());
  EXPECT_FALSE(power_->isKeepAwakeOn.get());
}

TEST_F(CommandDispatchTest, needsThePermissionForInputOnly) {
  auto phone = pairedPhone();
  permission_.trusted = false;
  phone.send(command({.type = "movePointer", .dx = 3, .dy = 4}));
  EXPECT_EQ(phone.replies(),
            (std::vector<RemoteMessage>{{.type = "ack", .ok = false, .message = "accessibility required"}}));
  EXPECT_TRUE(events_.events.empty());
  EXPECT_FALSE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(server_->statusText.get(), "Accessibility required");
  phone.send(command({.type = "querySystemState"}));
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kState});

  permission_.trusted = true;
  phone.send(command({.type = "movePointer", .dx = 3, .dy = 4}));
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{kDone});
  EXPECT_EQ(events_.pointer, (PointerLocation{3, 4}));
  EXPECT_TRUE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(server_->statusText.get(), "iPhone connected");
}

TEST_F(CommandDispatchTest, recordsTheMissingPermissionOnTheMainQueue) {
  auto phone = pairedPhone();
  permission_.trusted = false;
  bool onMain = false;
  const auto observed = server_->isAccessibilityTrusted.observe([&](bool) { onMain = main_->isCurrent(); });
  phone.send(command({.type = "click"}));
  EXPECT_TRUE(onMain);
}

TEST_F(CommandDispatchTest, followsAShortcutWithOneAckAndThenOneState) {
  auto phone = pairedPhone();
  scripts_.results["set volume output volume 50"] = {true, "", {}};
  phone.send(command({.type = "setVolume", .level = 0.5}));
  EXPECT_EQ(phone.replies(),
            (std::vector<RemoteMessage>{{.type = "ack", .ok = true, .message = "volume 50"}, kState}));
}

TEST_F(CommandDispatchTest, handsEveryShortcutToTheRunner) {
  auto phone = pairedPhone();
  for (const auto* type :
       {"setVolume", "toggleMute", "setBrightness", "powerSleep", "powerLock", "powerRestart",
        "powerShutdown", "powerLogout", "openApp", "mediaPlayPause", "mediaNext", "mediaPrevious"}) {
    const RemoteCommand inner{.type = type, .level = 0.1, .appId = "org.none"};
    phone.send(command(inner));
    const auto replies = phone.replies();
    ASSERT_EQ(replies.size(), 2u) << type;
    const auto expected = shortcuts_->run(inner);
    EXPECT_EQ(replies[0], (RemoteMessage{.type = "ack", .ok = expected.success, .message = expected.message}))
        << type;
    EXPECT_EQ(replies[1], kState) << type;
  }
}

TEST_F(CommandDispatchTest, runsShortcutsAndReadsTheStateOnTheirOwnQueue) {
  auto phone = pairedPhone();
  events_.onPost = [&] { EXPECT_TRUE(main_->isCurrent()); };
  scripts_.results["set volume output volume 100"] = {true, "", {}};
  std::string line;
  ASSERT_TRUE(encodeRemoteMessage(command({.type = "setVolume", .level = 1.0}), line));
  phone.peer().send(line + "\n");
  bool waited = false;
  shortcut_->async([&] { waited = scripts_.sources.empty(); });
  run();
  EXPECT_TRUE(waited) << "what was queued before the shortcut runs first";
  EXPECT_EQ(scripts_.sources, (Types{"set volume output volume 100", std::string(script::kOutputVolume),
                                     std::string(script::kOutputMuted)}));
}

TEST_F(CommandDispatchTest, leavesOutOfTheStateWhatCannotBeRead) {
  auto phone = pairedPhone();
  scripts_.results.clear();
  phone.send(command({.type = "querySystemState"}));
  EXPECT_EQ(phone.replies(), std::vector<RemoteMessage>{{.type = "systemState"}});
  scripts_.results[std::string(script::kOutputMuted)] = {true, "", true};
  phone.send(command({.type = "querySystemState"}));
  EXPECT_EQ(phone.replies(), (std::vector<RemoteMessage>{{.type = "systemState", .muted = true}}));
}

TEST_F(CommandDispatchTest, passesOnAScriptsOwnTextHoweverMangled) {
  auto phone = pairedPhone();
  scripts_.results["set volume output volume 0"] = {false, "no d\xE9vice", {}};
  phone.send(command({.type = "setVolume"}));
  EXPECT_EQ(phone.replies()[0],
            (RemoteMessage{.type = "ack", .ok = false, .message = "no d\xEF\xBF\xBDvice"}));
}

TEST_F(CommandDispatchTest, switchesKeepAwake) {
  auto phone = pairedPhone();
  phone.send(command({.type = "setKeepAwake", .on = true}));
  EXPECT_EQ(phone.replies(), (std::vector<RemoteMessage>{{.type = "powerState",
                                                          .message = "Keeps running after screen lock",
                                                          .keepAwakeOn = true,
                                                          .helperReady = true}}));
  EXPECT_EQ(assertions_.held.size(), 1u);
  phone.send(command({.type = "queryKeepAwake"}));
  EXPECT_EQ(phone.replies()[0].keepAwakeOn, true);
  phone.send(command({.type = "setKeepAwake"}));  // without "on": off
  EXPECT_EQ(
      phone.replies(),
      (std::vector<RemoteMessage>{
          {.type = "powerState", .message = "Keep Awake off", .keepAwakeOn = false, .helperReady = true}}));
  EXPECT_TRUE(assertions_.held.empty());
}

TEST_F(CommandDispatchTest, queriesKeepAwakeWithoutSwitchingIt) {
  auto phone = pairedPhone();
  phone.send(command({.type = "queryKeepAwake", .on = true}));
  EXPECT_EQ(phone.replies()[0].keepAwakeOn, false);
  EXPECT_TRUE(assertions_.created.empty());
}

TEST_F(CommandDispatchTest, saysThatThereIsNoPower) {
  makeServer();
  auto phone = pairedPhone();
  for (const auto* type : {"setKeepAwake", "queryKeepAwake"}) {
    phone.send(command({.type = type, .on = true}));
    EXPECT_EQ(
        phone.replies(),
        (std::vector<RemoteMessage>{{.type = "powerState", .ok = false, .message = "power unavailable"}}));
  }
}

TEST_F(CommandDispatchTest, listsTheApplicationsWithTheirDigest) {
  auto phone = pairedPhone();
  phone.send(command({.type = "queryApps"}));
  const auto replies = phone.replies();
  ASSERT_EQ(replies.size(), 1u);
  EXPECT_EQ(replies[0].type, "appList");
  EXPECT_EQ(replies[0].apps,
            (std::vector<RemoteAppInfo>{{.name = "A", .bundleId = "org.a", .installedDate = 1000.0},
                                        {.name = "B", .bundleId = "org.b", .installedDate = 1000.0}}));
  EXPECT_EQ(replies[0].appsHash, appsHash(*replies[0].apps));
  phone.send(command({.type = "queryApps"}));
  EXPECT_EQ(phone.replies(), replies);
}

TEST_F(CommandDispatchTest, listsAnEmptyComputer) {
  workspace_.folders.clear();
  auto phone = pairedPhone();
  phone.send(command({.type = "queryApps"}));
  EXPECT_EQ(phone.replies(),
            (std::vector<RemoteMessage>{
                {.type = "appList", .apps = std::vector<RemoteAppInfo>{}, .appsHash = "0000000000001505"}}));
}

TEST_F(CommandDispatchTest, reusesTheListForAMinute) {
  auto phone = pairedPhone();
  const auto count = [&](Phone& asking) {
    asking.send(command({.type = "queryApps"}));
    return asking.replies()[0].apps->size();
  };
  EXPECT_EQ(count(phone), 2u);
  workspace_.folders[0].second.push_back(application("org.c", "C"));
  queue_->advance(AppListCache::kLifetime - std::chrono::milliseconds(1));
  EXPECT_EQ(count(phone), 2u);
  queue_->advance(std::chrono::milliseconds(1));
  EXPECT_EQ(count(phone), 3u);
}

TEST_F(CommandDispatchTest, listsAnewForAPhoneThatConnectsAnew) {
  auto phone = pairedPhone();
  phone.send(command({.type = "queryApps"}));
  EXPECT_EQ(phone.replies()[0].apps->size(), 2u);
  workspace_.folders[0].second.push_back(application("org.c", "C"));
  auto second = connect();
  second.send(command({.type = "queryApps"}));
  EXPECT_EQ(second.replies()[0].apps->size(), 3u);
}

TEST_F(CommandDispatchTest, answersOnTheChannelThatIsCurrentByThen) {
  auto first = pairedPhone();
  std::string line;
  ASSERT_TRUE(encodeRemoteMessage(command({.type = "querySystemState"}), line));
  // The second phone comes while the first one's question is on its way to the shortcut queue.
  first.peer().send(line + "\n");
  Phone second(listeners_.last->connect(), queue_);
  run();
  EXPECT_TRUE(first.replies().empty());
  EXPECT_EQ(second.replies(), std::vector<RemoteMessage>{kState});
}

TEST_F(CommandDispatchTest, answersNobodyWhenThePhoneIsGone) {
  auto phone = pairedPhone();
  std::string line;
  ASSERT_TRUE(encodeRemoteMessage(command({.type = "setVolume", .level = 1}), line));
  phone.peer().send(line + "\n");
  phone.peer().endStream();
  run();
  EXPECT_EQ(scripts_.sources.size(), 3u) << "the command is carried out all the same";
  EXPECT_EQ(server_->statusText.get(), "Waiting for iPhone");
}

}  // namespace
}  // namespace tevanto
