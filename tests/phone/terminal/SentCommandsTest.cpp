#include <gmock/gmock.h>

#include <filesystem>

#include "phone/terminal/CommandLine.h"
#include "tests/phone/terminal/CommandLineFixture.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class SentCommandsTest : public CommandLineFixture {};

TEST_F(SentCommandsTest, sendsPointerCommands) {
  EXPECT_EQ(sent({"move", "10.5", "-20"}), expectedMotion("movePointer", 10.5, -20));
  EXPECT_EQ(sent({"scroll", "-3", "0"}), expectedMotion("scroll", -3, 0));
  auto click = expected("click");
  click.button = "left";
  click.clicks = 1;
  EXPECT_EQ(sent({"click"}), click);
  click.button = "right";
  click.clicks = 2;
  EXPECT_EQ(sent({"click", "--right", "-n", "2"}), click);
}

TEST_F(SentCommandsTest, dragsInSteps) {
  EXPECT_EQ(run({"drag", "100", "-50"}), 0);
  const auto commands = companion_.commands();
  ASSERT_THAT(commands, SizeIs(12));
  EXPECT_EQ(commands.front(), expected("mouseDown"));
  EXPECT_EQ(commands.back(), expected("mouseUp"));
  for (std::size_t i = 1; i + 1 < commands.size(); ++i) {
    EXPECT_EQ(commands[i], expectedMotion("movePointer", 10, -5));
  }
  EXPECT_EQ(out(), "ok\n");
}

TEST_F(SentCommandsTest, sendsKeys) {
  expectKey({"a"}, "a", std::nullopt);
  expectKey({"A"}, "a", {{RemoteModifier::shift}});
  expectKey({"!", "--command"}, "1", {{RemoteModifier::shift, RemoteModifier::command}});
  expectKey({"c", "--command"}, "c", {{RemoteModifier::command}});
  expectKey(
      {"left", "--shift", "--option", "--control", "--command"}, "arrowLeft",
      {{RemoteModifier::shift, RemoteModifier::option, RemoteModifier::control, RemoteModifier::command}});
  expectKey({"return"}, "returnKey", std::nullopt);
}

TEST_F(SentCommandsTest, sendsText) {
  auto typed = expected("insertText");
  typed.text = "Grüße, 世界 👋";
  EXPECT_EQ(sent({"type", *typed.text}), typed);
  typed.text = "--json";
  EXPECT_EQ(sent({"type", "--", "--json"}), typed);
}

TEST_F(SentCommandsTest, readsTextFromStandardInput) {
  giveInput("first line\nsecond ünicode");
  closeInput();
  auto typed = expected("insertText");
  typed.text = "first line\nsecond ünicode";
  EXPECT_EQ(sent({"type", "-"}), typed);
}

TEST_F(SentCommandsTest, sendsGestures) {
  for (const auto* name :
       {"missionControl", "appWindows", "spaceLeft", "spaceRight", "showDesktop", "launchpad"}) {
    auto gesture = expected("systemGesture");
    gesture.gesture = name;
    EXPECT_EQ(sent({"gesture", name}), gesture);
  }
}

TEST_F(SentCommandsTest, sendsCommandsWithoutArguments) {
  const std::pair<const char*, const char*> rows[] = {
      {"select-all", "selectAll"},      {"mute", "toggleMute"}, {"lock", "powerLock"},
      {"play-pause", "mediaPlayPause"}, {"next", "mediaNext"},  {"previous", "mediaPrevious"}};
  for (const auto& [name, type] : rows) EXPECT_EQ(sent({name}), expected(type)) << name;
}

TEST_F(SentCommandsTest, sendsTheVolumeAsAFraction) {
  companion_.script()->ack.message = "volume 40";
  auto volume = expected("setVolume");
  volume.level = 0.4;
  EXPECT_EQ(sent({"volume", "40"}), volume);
  EXPECT_EQ(out(), "volume 40\n");
}

TEST_F(SentCommandsTest, opensAnApplication) {
  auto open = expected("openApp");
  open.appId = "org.example.Editor";
  EXPECT_EQ(sent({"open", "org.example.Editor"}), open);
}

TEST_F(SentCommandsTest, switchesKeepAwake) {
  auto asked = expected("setKeepAwake");
  asked.on = true;
  EXPECT_EQ(sent({"keep-awake", "on"}), asked);
  EXPECT_THAT(out(), StartsWith("Keep awake:  on"));
  asked.on = false;
  EXPECT_EQ(sent({"keep-awake", "off"}), asked);
}

TEST_F(SentCommandsTest, saysWhyKeepAwakeWasRefused) {
  companion_.script()->answer = [&](const RemoteMessage& given) {
    auto replies = companion_.defaultAnswer(given);
    if (replies[0].type == "powerState") {
      replies[0].keepAwakeOn = false;
      replies[0].message = "Battery too low (20%) to keep awake";
    }
    return replies;
  };
  EXPECT_EQ(run({"keep-awake", "on"}), 4);
  EXPECT_THAT(err(), HasSubstr("Battery too low (20%) to keep awake"));
}

TEST_F(SentCommandsTest, saysWhenThereIsNoPowerManagement) {
  companion_.script()->powerState = {};
  companion_.script()->powerState.type = "powerState";
  companion_.script()->powerState.ok = false;
  companion_.script()->powerState.message = "power unavailable";
  EXPECT_EQ(run({"keep-awake", "on"}), 4);
  EXPECT_THAT(err(), HasSubstr("power unavailable"));
  EXPECT_EQ(run({"state"}), 0);
  EXPECT_THAT(out(), HasSubstr("Keep awake:  unknown (power unavailable)"));
}

TEST_F(SentCommandsTest, showsTheState) {
  EXPECT_EQ(run({"state"}), 0);
  EXPECT_EQ(out(),
            "Volume:      42 %\nMuted:       no\n"
            "Keep awake:  off (Keep Awake off)\nBattery:     73 %\n");
  EXPECT_THAT(companion_.commands(), ElementsAre(expected("querySystemState"), expected("queryKeepAwake")));
}

TEST_F(SentCommandsTest, listsApplicationsAndWritesTheirIcons) {
  test::TemporaryFolder folder;
  companion_.script()->apps = {{"Editor", "org.example.Editor", "iVBORw==", 1700000000.0}};
  EXPECT_EQ(run({"apps", "--icons", (folder / "icons").string()}), 0) << err();
  EXPECT_THAT(out(), HasSubstr("Editor"));
  EXPECT_THAT(out(), HasSubstr("2023-11-1"));
  EXPECT_THAT(out(), HasSubstr("org.example.Editor"));
  EXPECT_TRUE(std::filesystem::exists(folder / "icons" / "org.example.Editor.png"));
  EXPECT_EQ(run({"apps", "--icons", "/dev/null/no"}), 1);
}

}  // namespace
}  // namespace tevanto::phone
