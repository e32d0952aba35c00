#include <gmock/gmock.h>

#include "phone/terminal/CommandLine.h"
#include "tests/phone/terminal/CommandLineFixture.h"

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class PhonePairingTest : public CommandLineFixture {};

TEST_F(PhonePairingTest, saysWhoAnswers) {
  EXPECT_EQ(run({"hello"}), 0);
  EXPECT_THAT(out(), StartsWith("Desk is ready.\nIdentifier:   DESK-ID\nCapabilities: pointer, scroll"));
}

TEST_F(PhonePairingTest, pairsAndKeepsTheToken) {
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

TEST_F(PhonePairingTest, showsNoTokenToAStranger) {
  (void)defaults_.remove("address." + companion_.host());
  EXPECT_EQ(run({"hello"}), 4);
  EXPECT_THAT(err(), HasSubstr("This phone was not paired with the companion at " + companion_.host()));
  EXPECT_THAT(err(), HasSubstr("`tevanto-phone --host " + companion_.host() + " pair CODE`"));
  EXPECT_EQ(companion_.received().at(0).type, "sessionHello");
  EXPECT_FALSE(companion_.received().at(0).token);
}

TEST_F(PhonePairingTest, meetsACompanionThatIsNamedAtANewAddress) {
  (void)defaults_.remove("address." + companion_.host());
  EXPECT_EQ(run({"--companion", "DESK-ID", "hello"}), 0) << err();
  EXPECT_EQ(companion_.received().at(0).token, "T");
  EXPECT_EQ(defaults_.string("address." + companion_.host()), "DESK-ID");
}

TEST_F(PhonePairingTest, neverPrintsTheToken) {
  companion_.script()->token = "SECRET";
  EXPECT_EQ(run({"--json", "pair", "012345"}), 0);
  EXPECT_THAT(out(), HasSubstr("pairAccepted"));
  EXPECT_THAT(out() + err(), Not(HasSubstr("SECRET")));
}

TEST_F(PhonePairingTest, saysWhenTheTokenCannotBeKept) {
  defaults_.failWith("disk full");
  EXPECT_EQ(run({"pair", "012345"}), 1);
  EXPECT_THAT(err(), HasSubstr("disk full"));
}

TEST_F(PhonePairingTest, saysWhenTheCodeIsWrong) {
  EXPECT_EQ(run({"pair", "999999"}), 4);
  EXPECT_THAT(err(), HasSubstr("wrong code"));
  EXPECT_THAT(err(), HasSubstr("tevanto status"));
  EXPECT_EQ(defaults_.string("companion.DESK-ID.token"), "T");
}

TEST_F(PhonePairingTest, saysHowToPairWhenItIsNotPaired) {
  (void)defaults_.remove("companion.DESK-ID.token");
  for (const auto* name : {"hello", "mute", "state", "apps"}) {
    EXPECT_EQ(run({name}), 4) << name;
    EXPECT_THAT(err(), HasSubstr("unauthorized")) << name;
    EXPECT_THAT(err(), HasSubstr(" pair CODE")) << name;
  }
  EXPECT_THAT(companion_.commands(), IsEmpty());
}

TEST_F(PhonePairingTest, passesOnWhyACommandWasRefused) {
  companion_.script()->ack.ok = false;
  companion_.script()->ack.message = "accessibility required";
  EXPECT_EQ(run({"move", "1", "2"}), 4);
  EXPECT_THAT(err(), HasSubstr("accessibility required"));
  EXPECT_EQ(out(), "");
}

TEST_F(PhonePairingTest, saysWhenTheConnectionIsLost) {
  companion_.script()->answer = [&](const RemoteMessage& given) {
    return given.type == "command" ? std::vector{hangUp()} : companion_.defaultAnswer(given);
  };
  for (const auto& arguments :
       {std::vector<std::string>{"mute"}, {"state"}, {"apps"}, {"keep-awake", "on"}}) {
    EXPECT_EQ(run(arguments), 5) << arguments[0];
    EXPECT_THAT(err(), HasSubstr("closed the connection"));
  }
}

TEST_F(PhonePairingTest, saysWhenNoAnswerComes) {
  companion_.script()->answer = [](const RemoteMessage&) { return std::vector<RemoteMessage>(); };
  EXPECT_EQ(run({"--timeout", "0.1", "hello"}), 5);
  EXPECT_THAT(err(), HasSubstr("did not answer in time"));
}

TEST_F(PhonePairingTest, saysWhenNobodyIsThere) {
  EXPECT_EQ(runAnywhere({"--host", "127.0.0.1:1", "hello"}), 3);
  EXPECT_THAT(err(), HasSubstr("No companion answers at 127.0.0.1:1 (Connection refused)"));
  EXPECT_EQ(runAnywhere({"hello"}), 3);
  EXPECT_THAT(err(), HasSubstr("No companion found on the local network"));
}

TEST_F(PhonePairingTest, findsItsCompanionByDiscovery) {
  browser_.services = {{"Desk", "desk.local", {"127.0.0.1"}, companion_.port(), {{"id", "DESK-ID"}}}};
  EXPECT_EQ(runAnywhere({"mute"}), 0) << err();
  EXPECT_EQ(onlyCommand(), expected("toggleMute"));
}

TEST_F(PhonePairingTest, triesEveryAddressOfACompanion) {
  browser_.services = {{"Desk", "desk.local", {"::1", "127.0.0.1"}, companion_.port(), {{"id", "DESK-ID"}}}};
  EXPECT_EQ(runAnywhere({"mute"}), 0) << err();
}

TEST_F(PhonePairingTest, reachesIpv6InBrackets) {
  test::ScriptedCompanion six(test::ScriptedCompanion::Family::ipv6);
  (void)defaults_.set("address." + six.host(), std::string("DESK-ID"));
  EXPECT_EQ(runAnywhere({"--host", six.host(), "mute"}), 0) << err();
  EXPECT_THAT(six.commands(), ElementsAre(expected("toggleMute")));
}

TEST_F(PhonePairingTest, listsWhatItDiscovers) {
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

TEST_F(PhonePairingTest, saysWhenItDiscoversNothing) {
  EXPECT_EQ(runAnywhere({"discover"}), 3);
  EXPECT_THAT(out(), HasSubstr("No companion found"));
  browser_.failure = "no daemon.";
  EXPECT_EQ(runAnywhere({"discover"}), 3);
  EXPECT_THAT(err(), HasSubstr("no daemon."));
}

}  // namespace
}  // namespace tevanto::phone
