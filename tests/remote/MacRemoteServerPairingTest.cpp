#include <gtest/gtest.h>

#include "remote/MacRemoteServer.h"
#include "tests/remote/RemoteServerFixture.h"

namespace tevanto {
namespace {

using test::Phone;
using Types = std::vector<std::string>;

class MacRemoteServerPairingTest : public test::RemoteServerTest {};

TEST_F(MacRemoteServerPairingTest, greetsThePhoneThatKnowsTheToken) {
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

TEST_F(MacRemoteServerPairingTest, skipsTheGreetingWithoutANonce) {
  auto phone = pairedPhone();
  phone.send({.type = "sessionHello", .token = kToken});
  EXPECT_EQ(phone.replyTypes(), (Types{"capabilities", "systemState"}));
  EXPECT_EQ(statusText(), "iPhone connected");
}

TEST_F(MacRemoteServerPairingTest, rejectsAHelloWithoutTheToken) {
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

TEST_F(MacRemoteServerPairingTest, rejectsEveryHelloBeforeAnyPairing) {
  start();
  auto phone = connect();
  phone.send({.type = "sessionHello", .sessionNonce = "n"});
  phone.send({.type = "sessionHello", .sessionNonce = "n", .token = ""});
  EXPECT_EQ(phone.replyTypes(), (Types{"sessionRejected", "sessionRejected"}));
  EXPECT_EQ(statusText(), "Pair from iPhone");
}

TEST_F(MacRemoteServerPairingTest, pairsThePhoneThatKnowsTheCode) {
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

TEST_F(MacRemoteServerPairingTest, acceptsNoCodeTwice) {
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

TEST_F(MacRemoteServerPairingTest, storesTheTokenBeforeItAcknowledgesIt) {
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

TEST_F(MacRemoteServerPairingTest, refusesAPairingThatItCannotStore) {
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

TEST_F(MacRemoteServerPairingTest, rejectsAWrongCodeAsOftenAsItComes) {
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

TEST_F(MacRemoteServerPairingTest, comparesTheCodeAsAString) {
  start();
  auto phone = connect();
  server_->pairingCode.set("012345");
  phone.send({.type = "pairRequest", .code = "12345"});
  EXPECT_EQ(phone.replyTypes(), Types{"pairRejected"});
  phone.send({.type = "pairRequest", .code = "012345"});
  EXPECT_EQ(phone.replies()[0].type, "pairAccepted");
}

TEST_F(MacRemoteServerPairingTest, forgetsTheOldPhoneWhenANewOnePairs) {
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

}  // namespace
}  // namespace tevanto
