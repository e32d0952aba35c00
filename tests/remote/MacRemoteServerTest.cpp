#include "remote/MacRemoteServer.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

#include "remote/PairingCode.h"
#include "tests/remote/RemoteServerFixture.h"

namespace tevanto {
namespace {

using test::Phone;
using Types = std::vector<std::string>;

class MacRemoteServerTest : public test::RemoteServerTest {};

TEST(PairingCode, hasSixDigitsWithLeadingZeros) {
  EXPECT_EQ(pairingCodeText(0), "000000");
  EXPECT_EQ(pairingCodeText(12345), "012345");
  EXPECT_EQ(pairingCodeText(999999), "999999");
}

TEST(PairingCode, isDrawnFromTheWholeRange) {
  std::array<std::set<char>, 6> seen;
  for (int draw = 0; draw < 2000; ++draw) {
    const auto code = randomPairingCode();
    ASSERT_EQ(code.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i) seen[i].insert(code[i]);
  }
  const std::set<char> digits = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
  for (const auto& place : seen) EXPECT_EQ(place, digits);
}

TEST_F(MacRemoteServerTest, beginsWithACodeAndNoPhone) {
  EXPECT_EQ(server_->pairingCode.get().size(), 6u);
  EXPECT_EQ(statusText(), "Starting");
  EXPECT_FALSE(server_->isClientConnected.get());
  EXPECT_TRUE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(server_->port.get(), 0);
  EXPECT_EQ(MacRemoteServer::kDefaultPort, 51637);
  EXPECT_EQ(listeners_.made, 0);
}

TEST_F(MacRemoteServerTest, saysAtTheStartWhenThePermissionIsMissing) {
  permission_.trusted = false;
  makeServer();
  EXPECT_FALSE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(statusText(), "Starting");
}

TEST_F(MacRemoteServerTest, listensAdvertisesAndOpensTheAwayAccess) {
  start();
  EXPECT_EQ(server_->port.get(), 51637);
  ASSERT_EQ(advertiser_.advertised.size(), 1u);
  EXPECT_EQ(advertiser_.advertised[0], (ServiceDescription{.name = "Studio",
                                                           .type = "_tevanto-remote._tcp",
                                                           .port = 51637,
                                                           .txt = {{"id", deviceID()}, {"kind", "mac"}}}));
  EXPECT_EQ(deviceID().size(), 36u);
  EXPECT_EQ(statusText(), "Waiting for iPhone");
  EXPECT_EQ(answerers_.rooms, Types{deviceID()});
  ASSERT_EQ(invites_->published.size(), 1u);
  EXPECT_EQ(invites_->published[0].code, server_->pairingCode.get());
  EXPECT_EQ(invites_->published[0].room, deviceID());
  EXPECT_EQ(invites_->published[0].invite, (CloudPairingInvite{deviceID(), "Studio"}));
}

TEST_F(MacRemoteServerTest, isCalledTevantoMacOnAComputerWithoutAName) {
  makeServer(std::nullopt);
  start();
  EXPECT_EQ(advertiser_.advertised[0].name, "Tevanto Mac");
  EXPECT_EQ(invites_->published[0].invite.deviceName, "Tevanto Mac");
  auto phone = connect();
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies()[0].hostName, std::nullopt);
}

TEST_F(MacRemoteServerTest, startsOnlyOnce) {
  start();
  start();
  EXPECT_EQ(listeners_.made, 1);
  EXPECT_EQ(advertiser_.advertised.size(), 1u);
}

TEST_F(MacRemoteServerTest, cannotStartWithoutAListener) {
  listeners_.failure = "the port is taken";
  start();
  EXPECT_EQ(statusText(), "Cannot start server");
  EXPECT_EQ(server_->port.get(), 0);
  EXPECT_TRUE(advertiser_.advertised.empty());
  EXPECT_TRUE(answerers_.rooms.empty());
  EXPECT_TRUE(invites_->published.empty());
  queue_->advance(std::chrono::hours(1));
  EXPECT_EQ(listeners_.made, 0) << "no retry";
}

TEST_F(MacRemoteServerTest, saysWhenItsListenerFailsAndDoesNotTryAgain) {
  start();
  listeners_.last->report(ListenerState::failed);
  run();
  EXPECT_EQ(statusText(), "Server failed");
  EXPECT_FALSE(advertiser_.isHeld());
  queue_->advance(std::chrono::hours(1));
  EXPECT_EQ(listeners_.made, 1);
}

TEST_F(MacRemoteServerTest, takesNoNoticeOfOtherListenerStates) {
  start();
  listeners_.last->report(ListenerState::waiting);
  listeners_.last->report(ListenerState::setup);
  run();
  EXPECT_EQ(statusText(), "Waiting for iPhone");
}

TEST_F(MacRemoteServerTest, publishesHowFarItIsVisible) {
  start();
  const AdvertisingStatus visible{.state = AdvertisingState::advertised, .name = "Studio #2", .message = ""};
  advertiser_.onStatus(visible);
  run();
  EXPECT_EQ(server_->advertising.get(), visible);
  EXPECT_EQ(server_->statusText.get(), "Waiting for iPhone");
}

TEST_F(MacRemoteServerTest, stopsOnceAndForAll) {
  auto phone = pairedPhone();
  server_->stop();
  server_->stop();
  run();
  EXPECT_EQ(statusText(), "Stopped");
  EXPECT_FALSE(server_->isClientConnected.get());
  EXPECT_EQ(server_->port.get(), 0);
  EXPECT_FALSE(advertiser_.isHeld());
  EXPECT_TRUE(listeners_.last->cancelled);
  EXPECT_TRUE(phone.peer().isReleased());
  EXPECT_EQ(answerers_.rooms.size(), 1u) << "no answerer is started for the connection that ended with it";
  advertiser_.onStatus({.state = AdvertisingState::advertised, .name = "late", .message = ""});
  run();
  EXPECT_EQ(server_->advertising.get(), AdvertisingStatus{});
}

TEST_F(MacRemoteServerTest, mayBeStoppedBeforeItStartsAndStartedAgainAfterwards) {
  server_->stop();
  start();
  server_->stop();
  run();
  start();
  EXPECT_EQ(listeners_.made, 2);
  EXPECT_EQ(statusText(), "Waiting for iPhone");
}

TEST_F(MacRemoteServerTest, doesNothingOnceItIsGone) {
  auto phone = pairedPhone();
  auto listener = listeners_.last;
  phone.peer().send("{\"type\":\"sessionHello\"}\n");
  server_.reset();
  const auto late = listener->connect();
  run();
  EXPECT_TRUE(phone.replies().empty());
  EXPECT_TRUE(late->isReleased());
}

TEST_F(MacRemoteServerTest, asksAnUnpairedComputersPhoneToPair) {
  start();
  connect();
  EXPECT_TRUE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "Pair from iPhone");
}

TEST_F(MacRemoteServerTest, authenticatesThePhoneOfAPairedComputer) {
  pairedPhone();
  EXPECT_TRUE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "Authenticating iPhone");
}

TEST_F(MacRemoteServerTest, waitsAgainWhenThePhoneGoesAway) {
  for (const bool orderly : {true, false}) {
    auto phone = pairedPhone();
    if (orderly) {
      phone.peer().endStream();
    } else {
      phone.peer().fail();
    }
    run();
    EXPECT_FALSE(server_->isClientConnected.get());
    EXPECT_EQ(statusText(), "Waiting for iPhone");
    EXPECT_TRUE(phone.peer().isReleased()) << "an ended connection keeps nothing";
  }
}

TEST_F(MacRemoteServerTest, letsTheNewestPhoneWin) {
  auto first = pairedPhone();
  auto second = connect();
  EXPECT_TRUE(first.peer().isReleased());
  EXPECT_FALSE(second.peer().isEnded());
  EXPECT_TRUE(server_->isClientConnected.get());
  second.send(command({.type = "queryKeepAwake"}));
  EXPECT_EQ(second.replyTypes(), Types{"powerState"});
}

TEST_F(MacRemoteServerTest, passesTheEndOfAReplacedConnectionThroughTheStates) {
  pairedPhone();
  std::vector<std::string> texts;
  std::vector<bool> connected;
  const auto text = server_->statusText.observe([&](const std::string& value) { texts.push_back(value); });
  const auto flag = server_->isClientConnected.observe([&](bool value) { connected.push_back(value); });
  connect();
  EXPECT_EQ(texts, (Types{"Waiting for iPhone", "Authenticating iPhone"}));
  EXPECT_EQ(connected, (std::vector<bool>{false, true}));
}

TEST_F(MacRemoteServerTest, keepsTheNewerChannelWhenTheReplacedOneEnds) {
  auto first = pairedPhone();
  const auto slow = listeners_.last->connect(false);  // not ready yet when the first one's end is reported
  run();
  EXPECT_FALSE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "Waiting for iPhone");
  slow->becomeReady();
  run();
  EXPECT_TRUE(server_->isClientConnected.get());
  Phone second(slow, queue_);
  server_->send({.type = "powerState"});
  EXPECT_EQ(second.replyTypes(), Types{"powerState"});
  EXPECT_TRUE(first.replies().empty());
}

TEST_F(MacRemoteServerTest, ignoresOtherKindsAndUndecodableLines) {
  auto phone = pairedPhone();
  for (const auto* line : {"{\"type\":\"sessionReady\"}", "{\"type\":\"ack\"}", "{\"type\":\"Command\"}",
                           "{\"type\":\"\"}", "nonsense", "", "{\"type\":\"pairRequest\",\"code\":1}",
                           "{\"type\":\"command\",\"token\":\"01234567-89AB-CDEF-0123-456789ABCDEF\"}"})
    phone.sendLine(line);
  EXPECT_TRUE(phone.replies().empty());
  EXPECT_FALSE(phone.peer().isEnded());
}

TEST_F(MacRemoteServerTest, sendsOnTheCurrentChannelOnly) {
  start();
  server_->send({.type = "powerState"});
  run();
  auto phone = connect();
  EXPECT_TRUE(phone.replies().empty());
  server_->send({.type = "powerState"});
  EXPECT_EQ(phone.replyTypes(), Types{"powerState"});
}

TEST_F(MacRemoteServerTest, disconnectsThePhone) {
  server_->disconnect();
  auto phone = pairedPhone();
  server_->disconnect();
  run();
  EXPECT_TRUE(phone.peer().isReleased());
  EXPECT_FALSE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "Waiting for iPhone");
}

TEST_F(MacRemoteServerTest, asksForThePermissionAndPublishesWhatCameOfIt) {
  permission_.trusted = false;
  makeServer();
  start();
  server_->requestAccessibility();
  run();
  EXPECT_EQ(permission_.requests, 1);
  EXPECT_FALSE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(statusText(), "Accessibility required");
  permission_.trusted = true;
  server_->requestAccessibility();
  run();
  EXPECT_TRUE(server_->isAccessibilityTrusted.get());
  EXPECT_EQ(statusText(), "Waiting for iPhone");
}

TEST_F(MacRemoteServerTest, leavesAnyOtherStatusAloneWhenThePermissionReturns) {
  permission_.trusted = false;
  makeServer();
  start();
  server_->requestAccessibility();
  run();
  auto phone = connect();
  ASSERT_EQ(statusText(), "Pair from iPhone");
  permission_.trusted = true;
  server_->requestAccessibility();
  run();
  EXPECT_EQ(statusText(), "Pair from iPhone");
}

TEST_F(MacRemoteServerTest, keepsItsIdentifierFromStartToStart) {
  start();
  const auto first = deviceID();
  makeServer();
  start();
  EXPECT_EQ(deviceID(), first);
  EXPECT_EQ(advertiser_.advertised[1].txt[0].second, first);
}

TEST_F(MacRemoteServerTest, introducesItselfEvenWithAMangledName) {
  makeServer(
      "Stu\xFF"
      "dio");
  start();
  auto phone = connect();
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies()[0].hostName,
            "Stu\xEF\xBF\xBD"
            "dio");
}

}  // namespace
}  // namespace tevanto
