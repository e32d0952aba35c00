#include "phone/CommandLine.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/phone/PhoneFixture.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/TemporaryFolder.h"

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class CommandLineTest : public PhoneFixture {
 protected:
  RemoteCommand expected(std::string type) {
    RemoteCommand made;
    made.type = std::move(type);
    return made;
  }
  RemoteCommand expectedMotion(std::string type, double dx, double dy) {
    auto made = expected(std::move(type));
    made.dx = dx;
    made.dy = dy;
    return made;
  }
  /// The command that reached the companion, after a run that must have succeeded.
  RemoteCommand sent(std::vector<std::string> arguments) {
    const auto before = companion_.commands().size();
    EXPECT_EQ(run(arguments), 0) << arguments[0] << ": " << err();
    const auto commands = companion_.commands();
    EXPECT_EQ(commands.size(), before + 1) << arguments[0];
    return commands.size() > before ? commands.back() : RemoteCommand();
  }
  /// The companion answers `count` messages and hangs up.
  void closeAfter(std::size_t count) {
    companion_.script()->answer = [this, count](const RemoteMessage& given) {
      auto replies = companion_.defaultAnswer(given);
      if (companion_.received().size() >= count) replies.push_back(hangUp());
      return replies;
    };
  }
  static RemoteMessage hangUp() {
    RemoteMessage close;
    close.type = "close";
    return close;
  }
  void expectKey(std::vector<std::string> arguments, const std::string& key,
                 std::optional<std::vector<RemoteModifier>> modifiers) {
    arguments.insert(arguments.begin(), "key");
    auto command = expected("keyPress");
    command.key = key;
    command.modifiers = std::move(modifiers);
    EXPECT_EQ(sent(arguments), command) << key;
  }
};

TEST_F(CommandLineTest, saysHelloBeforeItsCommand) {
  EXPECT_EQ(run({"select-all"}), 0);
  const auto messages = companion_.received();
  ASSERT_THAT(messages, SizeIs(2));
  EXPECT_EQ(messages[0].type, "sessionHello");
  EXPECT_EQ(messages[0].token, "T");
  EXPECT_EQ(messages[0].protocolVersion, 2);
  EXPECT_TRUE(messages[0].sessionNonce.has_value());
  EXPECT_EQ(messages[0].deviceID, defaults_.string("tevantoDeviceID"));
  EXPECT_THAT(messages[0].deviceName.value_or(""), HasSubstr("(terminal)"));
  EXPECT_EQ(messages[1].type, "command");
  EXPECT_EQ(messages[1].token, "T");
}

TEST_F(CommandLineTest, keepsItsIdentifier) {
  EXPECT_EQ(run({"hello"}), 0);
  EXPECT_EQ(run({"hello"}), 0);
  const auto messages = companion_.received();
  ASSERT_THAT(messages, SizeIs(2));
  EXPECT_EQ(messages[0].deviceID, messages[1].deviceID);
  EXPECT_NE(messages[0].sessionNonce, messages[1].sessionNonce);
}

TEST_F(CommandLineTest, ignoresTheAnswerToAnotherGreeting) {
  companion_.script()->answer = [&](const RemoteMessage& given) {
    auto stranger = companion_.defaultAnswer(given);
    stranger[0].type = "sessionRejected";
    stranger[0].sessionNonce = "another";
    auto replies = companion_.defaultAnswer(given);
    replies.insert(replies.begin(), stranger[0]);
    return replies;
  };
  EXPECT_EQ(run({"hello"}), 0);
}

TEST_F(CommandLineTest, sendsPointerCommands) {
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

TEST_F(CommandLineTest, dragsInSteps) {
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

TEST_F(CommandLineTest, sendsKeys) {
  expectKey({"a"}, "a", std::nullopt);
  expectKey({"A"}, "a", {{RemoteModifier::shift}});
  expectKey({"!", "--command"}, "1", {{RemoteModifier::shift, RemoteModifier::command}});
  expectKey({"c", "--command"}, "c", {{RemoteModifier::command}});
  expectKey(
      {"left", "--shift", "--option", "--control", "--command"}, "arrowLeft",
      {{RemoteModifier::shift, RemoteModifier::option, RemoteModifier::control, RemoteModifier::command}});
  expectKey({"return"}, "returnKey", std::nullopt);
}

TEST_F(CommandLineTest, sendsText) {
  auto typed = expected("insertText");
  typed.text = "Grüße, 世界 👋";
  EXPECT_EQ(sent({"type", *typed.text}), typed);
  typed.text = "--json";
  EXPECT_EQ(sent({"type", "--", "--json"}), typed);
}

TEST_F(CommandLineTest, readsTextFromStandardInput) {
  giveInput("first line\nsecond ünicode");
  closeInput();
  auto typed = expected("insertText");
  typed.text = "first line\nsecond ünicode";
  EXPECT_EQ(sent({"type", "-"}), typed);
}

TEST_F(CommandLineTest, sendsGestures) {
  for (const auto* name :
       {"missionControl", "appWindows", "spaceLeft", "spaceRight", "showDesktop", "launchpad"}) {
    auto gesture = expected("systemGesture");
    gesture.gesture = name;
    EXPECT_EQ(sent({"gesture", name}), gesture);
  }
}

TEST_F(CommandLineTest, sendsCommandsWithoutArguments) {
  const std::pair<const char*, const char*> rows[] = {
      {"select-all", "selectAll"},      {"mute", "toggleMute"}, {"lock", "powerLock"},
      {"play-pause", "mediaPlayPause"}, {"next", "mediaNext"},  {"previous", "mediaPrevious"}};
  for (const auto& [name, type] : rows) EXPECT_EQ(sent({name}), expected(type)) << name;
}

TEST_F(CommandLineTest, sendsTheVolumeAsAFraction) {
  companion_.script()->ack.message = "volume 40";
  auto volume = expected("setVolume");
  volume.level = 0.4;
  EXPECT_EQ(sent({"volume", "40"}), volume);
  EXPECT_EQ(out(), "volume 40\n");
}

TEST_F(CommandLineTest, opensAnApplication) {
  auto open = expected("openApp");
  open.appId = "org.example.Editor";
  EXPECT_EQ(sent({"open", "org.example.Editor"}), open);
}

TEST_F(CommandLineTest, switchesKeepAwake) {
  auto asked = expected("setKeepAwake");
  asked.on = true;
  EXPECT_EQ(sent({"keep-awake", "on"}), asked);
  EXPECT_THAT(out(), StartsWith("Keep awake:  on"));
  asked.on = false;
  EXPECT_EQ(sent({"keep-awake", "off"}), asked);
}

TEST_F(CommandLineTest, saysWhyKeepAwakeWasRefused) {
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

TEST_F(CommandLineTest, saysWhenThereIsNoPowerManagement) {
  companion_.script()->powerState = {};
  companion_.script()->powerState.type = "powerState";
  companion_.script()->powerState.ok = false;
  companion_.script()->powerState.message = "power unavailable";
  EXPECT_EQ(run({"keep-awake", "on"}), 4);
  EXPECT_THAT(err(), HasSubstr("power unavailable"));
  EXPECT_EQ(run({"state"}), 0);
  EXPECT_THAT(out(), HasSubstr("Keep awake:  unknown (power unavailable)"));
}

TEST_F(CommandLineTest, showsTheState) {
  EXPECT_EQ(run({"state"}), 0);
  EXPECT_EQ(out(),
            "Volume:      42 %\nMuted:       no\n"
            "Keep awake:  off (Keep Awake off)\nBattery:     73 %\n");
  EXPECT_THAT(companion_.commands(), ElementsAre(expected("querySystemState"), expected("queryKeepAwake")));
}

TEST_F(CommandLineTest, listsApplicationsAndWritesTheirIcons) {
  test::TemporaryFolder folder;
  companion_.script()->apps = {{"Editor", "org.example.Editor", "iVBORw==", 1700000000.0}};
  EXPECT_EQ(run({"apps", "--icons", (folder / "icons").string()}), 0) << err();
  EXPECT_THAT(out(), HasSubstr("Editor"));
  EXPECT_THAT(out(), HasSubstr("2023-11-1"));
  EXPECT_THAT(out(), HasSubstr("org.example.Editor"));
  EXPECT_TRUE(std::filesystem::exists(folder / "icons" / "org.example.Editor.png"));
  EXPECT_EQ(run({"apps", "--icons", "/dev/null/no"}), 1);
}

TEST_F(CommandLineTest, saysWhoAnswers) {
  EXPECT_EQ(run({"hello"}), 0);
  EXPECT_THAT(out(), StartsWith("Desk is ready.\nIdentifier:   DESK-ID\nCapabilities: pointer, scroll"));
}

TEST_F(CommandLineTest, pairsAndKeepsTheToken) {
  (void)defaults_.remove("companion.DESK-ID.token");
  (void)defaults_.remove("lastCompanion");
  companion_.script()->token = "FRESH";
  EXPECT_EQ(run({"pair", "012345"}), 0) << err();
  EXPECT_EQ(out(), "Paired with Desk.\n");
  EXPECT_EQ(defaults_.string("companion.DESK-ID.token"), "FRESH");
  EXPECT_EQ(defaults_.string("companion.DESK-ID.name"), "Desk");
  const auto request = companion_.received().at(0);
  EXPECT_EQ(request.type, "pairRequest");
  EXPECT_EQ(request.code, "012345");
  EXPECT_EQ(request.deviceID, defaults_.string("tevantoDeviceID"));
  EXPECT_EQ(run({"mute"}), 0) << err();
}

TEST_F(CommandLineTest, showsNoTokenToAStranger) {
  (void)defaults_.remove("address." + companion_.host());
  EXPECT_EQ(run({"hello"}), 4);
  EXPECT_THAT(err(), HasSubstr("This phone was not paired with the companion at " + companion_.host()));
  EXPECT_THAT(err(), HasSubstr("`tevanto-phone --host " + companion_.host() + " pair CODE`"));
  EXPECT_EQ(companion_.received().at(0).type, "sessionHello");
  EXPECT_FALSE(companion_.received().at(0).token);
}

TEST_F(CommandLineTest, meetsACompanionThatIsNamedAtANewAddress) {
  (void)defaults_.remove("address." + companion_.host());
  EXPECT_EQ(run({"--companion", "DESK-ID", "hello"}), 0) << err();
  EXPECT_EQ(companion_.received().at(0).token, "T");
  EXPECT_EQ(defaults_.string("address." + companion_.host()), "DESK-ID");
}

TEST_F(CommandLineTest, neverPrintsTheToken) {
  companion_.script()->token = "SECRET";
  EXPECT_EQ(run({"--json", "pair", "012345"}), 0);
  EXPECT_THAT(out(), HasSubstr("pairAccepted"));
  EXPECT_THAT(out() + err(), Not(HasSubstr("SECRET")));
}

TEST_F(CommandLineTest, saysWhenTheTokenCannotBeKept) {
  defaults_.failWith("disk full");
  EXPECT_EQ(run({"pair", "012345"}), 1);
  EXPECT_THAT(err(), HasSubstr("disk full"));
}

TEST_F(CommandLineTest, saysWhenTheCodeIsWrong) {
  EXPECT_EQ(run({"pair", "999999"}), 4);
  EXPECT_THAT(err(), HasSubstr("wrong code"));
  EXPECT_THAT(err(), HasSubstr("tevanto status"));
  EXPECT_EQ(defaults_.string("companion.DESK-ID.token"), "T");
}

TEST_F(CommandLineTest, saysHowToPairWhenItIsNotPaired) {
  (void)defaults_.remove("companion.DESK-ID.token");
  for (const auto* name : {"hello", "mute", "state", "apps"}) {
    EXPECT_EQ(run({name}), 4) << name;
    EXPECT_THAT(err(), HasSubstr("unauthorized")) << name;
    EXPECT_THAT(err(), HasSubstr(" pair CODE")) << name;
  }
  EXPECT_THAT(companion_.commands(), IsEmpty());
}

TEST_F(CommandLineTest, passesOnWhyACommandWasRefused) {
  companion_.script()->ack.ok = false;
  companion_.script()->ack.message = "accessibility required";
  EXPECT_EQ(run({"move", "1", "2"}), 4);
  EXPECT_THAT(err(), HasSubstr("accessibility required"));
  EXPECT_EQ(out(), "");
}

TEST_F(CommandLineTest, saysWhenTheConnectionIsLost) {
  companion_.script()->answer = [&](const RemoteMessage& given) {
    return given.type == "command" ? std::vector{hangUp()} : companion_.defaultAnswer(given);
  };
  for (const auto& arguments :
       {std::vector<std::string>{"mute"}, {"state"}, {"apps"}, {"keep-awake", "on"}}) {
    EXPECT_EQ(run(arguments), 5) << arguments[0];
    EXPECT_THAT(err(), HasSubstr("closed the connection"));
  }
}

TEST_F(CommandLineTest, saysWhenNoAnswerComes) {
  companion_.script()->answer = [](const RemoteMessage&) { return std::vector<RemoteMessage>(); };
  EXPECT_EQ(run({"--timeout", "0.1", "hello"}), 5);
  EXPECT_THAT(err(), HasSubstr("did not answer in time"));
}

TEST_F(CommandLineTest, saysWhenNobodyIsThere) {
  EXPECT_EQ(runAnywhere({"--host", "127.0.0.1:1", "hello"}), 3);
  EXPECT_THAT(err(), HasSubstr("No companion answers at 127.0.0.1:1 (Connection refused)"));
  EXPECT_EQ(runAnywhere({"hello"}), 3);
  EXPECT_THAT(err(), HasSubstr("No companion found on the local network"));
}

TEST_F(CommandLineTest, findsItsCompanionByDiscovery) {
  browser_.services = {{"Desk", "desk.local", {"127.0.0.1"}, companion_.port(), {{"id", "DESK-ID"}}}};
  EXPECT_EQ(runAnywhere({"mute"}), 0) << err();
  EXPECT_EQ(onlyCommand(), expected("toggleMute"));
}

TEST_F(CommandLineTest, triesEveryAddressOfACompanion) {
  browser_.services = {{"Desk", "desk.local", {"::1", "127.0.0.1"}, companion_.port(), {{"id", "DESK-ID"}}}};
  EXPECT_EQ(runAnywhere({"mute"}), 0) << err();
}

TEST_F(CommandLineTest, reachesIpv6InBrackets) {
  test::ScriptedCompanion six(test::ScriptedCompanion::Family::ipv6);
  (void)defaults_.set("address." + six.host(), std::string("DESK-ID"));
  EXPECT_EQ(runAnywhere({"--host", six.host(), "mute"}), 0) << err();
  EXPECT_THAT(six.commands(), ElementsAre(expected("toggleMute")));
}

TEST_F(CommandLineTest, listsWhatItDiscovers) {
  browser_.services = {{"Desk", "desk.local", {"10.0.0.1", "fe80::1%eth0"}, 51637, {{"id", "DESK-ID"}}},
                       {"Attic\x1b", "attic.local", {"10.0.0.2"}, 7, {}}};
  EXPECT_EQ(runAnywhere({"discover"}), 0);
  EXPECT_EQ(out(), "Desk  (paired)\n  10.0.0.1:51637\n  [fe80::1%eth0]:51637\nAttic\n  10.0.0.2:7\n");
  EXPECT_EQ(runAnywhere({"discover", "--json"}), 0);
  EXPECT_EQ(out(),
            "{\"name\":\"Desk\",\"deviceID\":\"DESK-ID\",\"hostName\":\"desk.local\","
            "\"addresses\":[\"10.0.0.1\",\"fe80::1%eth0\"],\"port\":51637,\"paired\":true}\n"
            "{\"name\":\"Attic\\u001b\",\"hostName\":\"attic.local\",\"addresses\":[\"10.0.0.2\"],\"port\":7,"
            "\"paired\":false}\n");
}

TEST_F(CommandLineTest, saysWhenItDiscoversNothing) {
  EXPECT_EQ(runAnywhere({"discover"}), 3);
  EXPECT_THAT(out(), HasSubstr("No companion found"));
  browser_.failure = "no daemon.";
  EXPECT_EQ(runAnywhere({"discover"}), 3);
  EXPECT_THAT(err(), HasSubstr("no daemon."));
}

TEST_F(CommandLineTest, printsOneObjectPerReply) {
  EXPECT_EQ(run({"--json", "volume", "5"}), 0);
  EXPECT_EQ(out(), "{\"type\":\"ack\",\"ok\":true}\n");
  EXPECT_EQ(run({"state", "--json"}), 0);
  EXPECT_EQ(
      out(),
      "{\"type\":\"systemState\",\"volume\":0.42,\"muted\":false}\n"
      "{\"type\":\"powerState\",\"message\":\"Keep Awake off\",\"keepAwakeOn\":false,\"helperReady\":true,"
      "\"batteryPercent\":73}\n");
  EXPECT_EQ(run({"drag", "1", "1", "--json"}), 0);
  EXPECT_EQ(std::ranges::count(out(), '\n'), 12);
  EXPECT_EQ(run({"hello", "--json"}), 0);
  EXPECT_THAT(out(), HasSubstr("\"type\":\"sessionReady\""));
  EXPECT_EQ(run({"apps", "--json"}), 0);
  EXPECT_EQ(out(), "{\"type\":\"appList\",\"apps\":[],\"appsHash\":\"0000000000001505\"}\n");
}

TEST_F(CommandLineTest, printsTroubleAsAnObjectToo) {
  companion_.script()->ack.ok = false;
  companion_.script()->ack.message = "app not found";
  EXPECT_EQ(run({"--json", "open", "x"}), 4);
  EXPECT_EQ(out(),
            "{\"type\":\"ack\",\"ok\":false,\"message\":\"app not found\"}\n"
            "{\"type\":\"error\",\"code\":4,\"message\":\"Refused: app not found\"}\n");
  EXPECT_EQ(err(), "Refused: app not found\n");
}

TEST_F(CommandLineTest, refusesWrongUsage) {
  const std::vector<std::vector<std::string>> wrong = {{},
                                                       {"dance"},
                                                       {"move"},
                                                       {"move", "1"},
                                                       {"move", "1", "x"},
                                                       {"move", "nan", "1"},
                                                       {"move", "1", "1e999"},
                                                       {"click", "-n", "0"},
                                                       {"click", "-n", "1001"},
                                                       {"key", "hyper"},
                                                       {"key", "é"},
                                                       {"gesture", "wave"},
                                                       {"volume", "101"},
                                                       {"volume", "-1"},
                                                       {"keep-awake", "maybe"},
                                                       {"pair"},
                                                       {"--host", "a:b", "hello"},
                                                       {"--timeout", "0", "hello"},
                                                       {"move", "1", "1", "1"}};
  for (const auto& arguments : wrong) {
    EXPECT_EQ(runAnywhere(arguments), 2) << testing::PrintToString(arguments);
    EXPECT_NE(err(), "") << testing::PrintToString(arguments);
  }
}

TEST_F(CommandLineTest, refusesTextThatIsNotUtf8) { EXPECT_EQ(run({"type", "\xff\xfe"}), 2); }

TEST_F(CommandLineTest, printsHelpAndVersion) {
  EXPECT_EQ(runAnywhere({"--help"}), 0);
  for (const auto* name :
       {"discover", "pair",       "hello",   "move",       "click",  "drag",       "scroll",
        "key",      "type",       "gesture", "select-all", "volume", "mute",       "apps",
        "open",     "lock",       "restart", "shutdown",   "logout", "play-pause", "next",
        "previous", "keep-awake", "state",   "touchpad",   "raw"}) {
    EXPECT_THAT(out(), HasSubstr(std::string("  ") + name + " ")) << name;
  }
  EXPECT_EQ(runAnywhere({"--version"}), 0);
  EXPECT_EQ(out(), "tevanto-phone " TEVANTO_VERSION "\n");
}

TEST_F(CommandLineTest, doesNotEndTheSessionWithoutAConfirmation) {
  for (const auto* name : {"restart", "shutdown", "logout"}) {
    EXPECT_EQ(run({name}), 2) << name;
    EXPECT_THAT(err(), HasSubstr("--yes"));
  }
  EXPECT_THAT(companion_.received(), IsEmpty());
}

TEST_F(CommandLineTest, endsTheSessionWhenToldSo) {
  EXPECT_EQ(sent({"restart", "--yes"}), expected("powerRestart"));
  EXPECT_EQ(sent({"shutdown", "--yes"}), expected("powerShutdown"));
  EXPECT_EQ(sent({"logout", "--yes"}), expected("powerLogout"));
}

TEST_F(CommandLineTest, asksOnATerminal) {
  test::PseudoTerminal terminal;
  inputDescriptor_ = terminal.device();
  for (const auto* answer : {"n\n", "\n", "yeah\n"}) {
    terminal.type(answer);
    EXPECT_EQ(run({"shutdown"}), 1) << answer;
    EXPECT_THAT(err(), HasSubstr("Shut the computer down? [y/N]"));
    EXPECT_THAT(err(), HasSubstr("Nothing was done."));
  }
  EXPECT_THAT(companion_.received(), IsEmpty());
  for (const auto* answer : {"y\n", "yes\n"}) {
    terminal.type(answer);
    EXPECT_EQ(sent({"restart"}), expected("powerRestart"));
  }
}

TEST_F(CommandLineTest, relaysRawLines) {
  companion_.script()->token.reset();
  closeAfter(2);
  giveInput(
      "{\"type\":\"sessionHello\",\"sessionNonce\":\"n\",\"extra\":[1, "
      "2]}\nnonsense\n{\"type\":\"command\"}");
  closeInput();
  EXPECT_EQ(run({"raw", "--linger", "30"}), 0) << err();
  EXPECT_THAT(companion_.lines(),
              ElementsAre("{\"type\":\"sessionHello\",\"sessionNonce\":\"n\",\"extra\":[1, 2]}", "nonsense",
                          "{\"type\":\"command\"}"));
  EXPECT_THAT(out(), StartsWith("{\"type\":\"sessionRejected\""));
  EXPECT_THAT(out(), HasSubstr("\n{\"type\":\"ack\",\"ok\":false,\"message\":\"unauthorized\"}\n"));
}

TEST_F(CommandLineTest, addsTheTokenToRawCommandsWhenAsked) {
  closeAfter(2);
  giveInput("{\"type\":\"command\",\"command\":{\"type\":\"toggleMute\"}}\n");
  giveInput("{\"type\":\"command\",\"token\":\"own\",\"command\":{\"type\":\"toggleMute\"}}\n");
  closeInput();
  EXPECT_EQ(run({"raw", "--token", "--linger", "30"}), 0);
  const auto received = companion_.received();
  ASSERT_THAT(received, SizeIs(2));
  EXPECT_EQ(received[0].token, "T");
  EXPECT_EQ(received[1].token, "own");
}

TEST_F(CommandLineTest, endsARawConversationWithItsInput) {
  closeInput();
  EXPECT_EQ(run({"raw", "--linger", "0"}), 0);
}

TEST_F(CommandLineTest, saysWhenTheCompanionEndsARawConversation) {
  companion_.script()->answer = [](const RemoteMessage&) { return std::vector{hangUp()}; };
  giveInput("{\"type\":\"x\"}\n");  // and the input stays open
  EXPECT_EQ(run({"raw"}), 5);
}

}  // namespace
}  // namespace tevanto::phone
