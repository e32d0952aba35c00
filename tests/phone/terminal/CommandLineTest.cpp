#include "phone/terminal/CommandLine.h"

#include <gmock/gmock.h>

#include "tests/phone/terminal/CommandLineFixture.h"
#include "tests/support/programs/PseudoTerminal.h"

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class CommandLineTest : public CommandLineFixture {};

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
