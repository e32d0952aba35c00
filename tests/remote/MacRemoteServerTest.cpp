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

class MacRemoteServerTest : public test::RemoteServerTest {
 protected:
  std::string storedToken() { return defaults_.string(kPairingTokenKey).value_or(""); }
  std::string deviceID() { return defaults_.string(kDeviceIDKey).value_or(""); }
  RemoteMessage pairRequest() { return {.type = "pairRequest", .code = server_->pairingCode.get()}; }
  std::string statusText() { return server_->statusText.get(); }
};

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

TEST_F(MacRemoteServerTest, listensAdvertisesAndOpensTheAwayRoad) {
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

TEST_F(MacRemoteServerTest, greetsThePhoneThatKnowsTheToken) {
  auto phone = pairedPhone();
  phone.send({.type = "sessionHello",
              .protocolVersion = 2,
              .sessionNonce = "nonce",
              .token = kToken,
              .deviceName = "Phone",
              .deviceID = "P"});
  const auto replies = phone.replies();
  ASSERT_EQ(replies.size(), 3u);
  EXPECT_EQ(replies[0], (RemoteMessage{.type = "sessionReady",
                                       .protocolVersion = 2,
                                       .sessionNonce = "nonce",
                                       .hostName = "Studio",
                                       .deviceID = deviceID(),
                                       .kind = "mac",
                                       .capabilities = capabilityList()}));
  EXPECT_EQ(replies[1],
            (RemoteMessage{.type = "capabilities", .protocolVersion = 2, .capabilities = capabilityList()}));
  EXPECT_EQ(replies[2], (RemoteMessage{.type = "systemState", .volume = 0.25, .muted = false}));
  EXPECT_TRUE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "iPhone connected");
}

TEST_F(MacRemoteServerTest, skipsTheGreetingWithoutANonce) {
  auto phone = pairedPhone();
  phone.send({.type = "sessionHello", .token = kToken});
  EXPECT_EQ(phone.replyTypes(), (Types{"capabilities", "systemState"}));
  EXPECT_EQ(statusText(), "iPhone connected");
}

TEST_F(MacRemoteServerTest, rejectsAHelloWithoutTheToken) {
  auto phone = pairedPhone();
  for (const auto& token : std::vector<std::optional<std::string>>{"", "x", std::nullopt,
                                                                   "01234567-89ab-cdef-0123-456789abcdef"}) {
    phone.send({.type = "sessionHello", .sessionNonce = "n", .token = token});
    const auto replies = phone.replies();
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(replies[0], (RemoteMessage{.type = "sessionRejected",
                                         .protocolVersion = 2,
                                         .sessionNonce = "n",
                                         .message = "unauthorized"}));
  }
  phone.send({.type = "sessionHello", .token = "x"});
  EXPECT_EQ(phone.replies()[0],
            (RemoteMessage{.type = "sessionRejected", .protocolVersion = 2, .message = "unauthorized"}));
  EXPECT_EQ(statusText(), "Authenticating iPhone");
  EXPECT_FALSE(phone.peer().isEnded());
}

TEST_F(MacRemoteServerTest, rejectsEveryHelloBeforeAnyPairing) {
  start();
  auto phone = connect();
  phone.send({.type = "sessionHello", .sessionNonce = "n"});
  phone.send({.type = "sessionHello", .sessionNonce = "n", .token = ""});
  EXPECT_EQ(phone.replyTypes(), (Types{"sessionRejected", "sessionRejected"}));
  EXPECT_EQ(statusText(), "Pair from iPhone");
}

TEST_F(MacRemoteServerTest, pairsThePhoneThatKnowsTheCode) {
  start();
  auto phone = connect();
  const auto code = server_->pairingCode.get();
  auto request = pairRequest();
  request.deviceID = "phone-id";
  std::vector<std::string> texts;
  const auto text = server_->statusText.observe([&](const std::string& value) { texts.push_back(value); });
  phone.send(request);
  const auto replies = phone.replies();
  ASSERT_EQ(replies.size(), 3u);
  EXPECT_EQ(replies[0], (RemoteMessage{.type = "pairAccepted",
                                       .protocolVersion = 2,
                                       .token = storedToken(),
                                       .hostName = "Studio",
                                       .deviceID = deviceID(),
                                       .kind = "mac",
                                       .capabilities = capabilityList()}));
  EXPECT_EQ(replies[1].type, "capabilities");
  EXPECT_EQ(replies[2].type, "systemState");
  EXPECT_EQ(storedToken().size(), 36u);
  EXPECT_EQ(storedToken().find_first_of("abcdef"), std::string::npos) << "upper case";
  EXPECT_EQ(texts, (Types{"iPhone connected", "Paired"}));
  EXPECT_TRUE(server_->isClientConnected.get());
  EXPECT_EQ(invites_->steps,
            (Types{"publish " + code, "delete " + code, "publish " + server_->pairingCode.get()}));
  EXPECT_EQ(server_->pairingCode.get().size(), 6u);
}

TEST_F(MacRemoteServerTest, acceptsNoCodeTwice) {
  start();
  auto phone = connect();
  std::string line;
  ASSERT_TRUE(encodeRemoteMessage(pairRequest(), line));
  phone.sendLine(line + "\n" + line);  // both in one read
  auto types = phone.replyTypes();
  // One in a million draws gives the same code again.
  std::erase_if(types, [](const auto& type) { return type != "pairAccepted" && type != "pairRejected"; });
  EXPECT_EQ(types, (Types{"pairAccepted", "pairRejected"}));
}

TEST_F(MacRemoteServerTest, storesTheTokenBeforeItAcknowledgesIt) {
  start();
  auto phone = connect();
  std::string before;
  defaults_.onSet = [&](std::string_view key, const DefaultsValue&) {
    if (key == kPairingTokenKey) before = phone.peer().received;
  };
  phone.send(pairRequest());
  EXPECT_EQ(before, "");
  EXPECT_EQ(phone.replies()[0].token, storedToken());
}

TEST_F(MacRemoteServerTest, refusesAPairingThatItCannotStore) {
  storeToken("old");
  start();
  auto phone = connect();
  defaults_.failWith("no space left on device");
  const auto code = server_->pairingCode.get();
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies(),
            (std::vector<RemoteMessage>{{.type = "pairRejected", .message = "pairing could not be stored"}}));
  EXPECT_EQ(storedToken(), "old");
  EXPECT_EQ(server_->pairingCode.get(), code);
  EXPECT_EQ(invites_->steps.size(), 1u);
  defaults_.failWith(std::nullopt);
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies()[0].type, "pairAccepted");
}

TEST_F(MacRemoteServerTest, rejectsAWrongCodeAsOftenAsItComes) {
  start();
  auto phone = connect();
  const auto code = server_->pairingCode.get();
  const std::string wrong = code == "000000" ? "000001" : "000000";
  for (const auto& guess : std::vector<std::optional<std::string>>{wrong, "", std::nullopt, code + "0",
                                                                   " " + code, code.substr(1)}) {
    phone.send({.type = "pairRequest", .code = guess});
    EXPECT_EQ(phone.replies(),
              (std::vector<RemoteMessage>{{.type = "pairRejected", .message = "wrong code"}}));
  }
  for (int guess = 0; guess < 1000; ++guess) phone.send({.type = "pairRequest", .code = wrong});
  EXPECT_EQ(phone.replies().size(), 1000u);
  EXPECT_EQ(server_->pairingCode.get(), code);
  EXPECT_EQ(storedToken(), "");
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies()[0].type, "pairAccepted");
}

TEST_F(MacRemoteServerTest, comparesTheCodeAsAString) {
  start();
  auto phone = connect();
  server_->pairingCode.set("012345");
  phone.send({.type = "pairRequest", .code = "12345"});
  EXPECT_EQ(phone.replyTypes(), Types{"pairRejected"});
  phone.send({.type = "pairRequest", .code = "012345"});
  EXPECT_EQ(phone.replies()[0].type, "pairAccepted");
}

TEST_F(MacRemoteServerTest, forgetsTheOldPhoneWhenANewOnePairs) {
  auto phone = pairedPhone();
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies()[0].type, "pairAccepted");
  EXPECT_NE(storedToken(), kToken);
  auto old = connect();
  old.send({.type = "sessionHello", .sessionNonce = "n", .token = kToken});
  EXPECT_EQ(old.replyTypes(), Types{"sessionRejected"});
  old.send(command({.type = "movePointer", .dx = 1, .dy = 1}));
  EXPECT_EQ(old.replies(),
            (std::vector<RemoteMessage>{{.type = "ack", .ok = false, .message = "unauthorized"}}));
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
