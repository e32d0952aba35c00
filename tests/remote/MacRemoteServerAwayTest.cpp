#include <gtest/gtest.h>

#include "remote/MacRemoteServer.h"
#include "tests/remote/RemoteServerFixture.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::FakeAwayTransport;
using Types = std::vector<std::string>;

/// A phone on another network, beside those on the local network.
class MacRemoteServerAwayTest : public test::RemoteServerTest {
 protected:
  std::shared_ptr<FakeAwayTransport> transport() { return answerers_.last(); }
  void report(FakeAwayTransport& channel, ChannelState state) {
    main_->async([&] { channel.onChannelState(state); });
    run();
  }
  void say(FakeAwayTransport& channel, RemoteMessage message) {
    main_->async([&channel, message] { channel.onMessage(message); });
    run();
  }
  Types takeReplies(FakeAwayTransport& channel) {
    run();
    Types types;
    for (const auto& message : std::exchange(channel.sent, {})) types.push_back(message.type);
    return types;
  }
  /// A paired phone that is connected from another network.
  std::shared_ptr<FakeAwayTransport> awayPhone() {
    storeToken();
    start();
    auto channel = transport();
    report(*channel, ChannelState::ready);
    return channel;
  }
  void expectConnected(const std::string& text = "Authenticating iPhone") {
    EXPECT_TRUE(server_->isClientConnected.get());
    EXPECT_EQ(server_->statusText.get(), text);
  }
  void expectNobody(const std::string& text = "Waiting for iPhone") {
    EXPECT_FALSE(server_->isClientConnected.get());
    EXPECT_EQ(server_->statusText.get(), text);
  }
};

TEST_F(MacRemoteServerAwayTest, waitsInTheRoomOfItsDeviceIdentifier) {
  EXPECT_TRUE(answerers_.rooms.empty());
  start();
  EXPECT_EQ(answerers_.rooms, Types{defaults_.string(kDeviceIDKey).value_or("")});
  EXPECT_EQ(transport()->starts, 1);
  expectNobody();
}

TEST_F(MacRemoteServerAwayTest, handsTheTransportToTheScreen) {
  const auto screen = std::make_shared<test::RecordingScreenHost>();
  server_->setScreen(screen);
  start();
  EXPECT_EQ(screen->attached.lock(), transport()->screen);
  report(*transport(), ChannelState::failed);
  EXPECT_TRUE(screen->attached.expired());
  main_->advance(1500ms);
  EXPECT_EQ(screen->attached.lock(), transport()->screen);
}

TEST_F(MacRemoteServerAwayTest, asksAnUnpairedComputersPhoneToPair) {
  start();
  report(*transport(), ChannelState::ready);
  expectConnected("Pair from iPhone");
}

TEST_F(MacRemoteServerAwayTest, carriesASessionLikeALocalConnection) {
  const auto channel = awayPhone();
  expectConnected();
  say(*channel, {.type = "sessionHello", .sessionNonce = "n", .token = kToken});
  EXPECT_EQ(takeReplies(*channel), (Types{"sessionReady", "capabilities", "systemState"}));
  expectConnected("iPhone connected");
  say(*channel, command({.type = "movePointer", .dx = 1.0, .dy = 2.0}));
  EXPECT_EQ(takeReplies(*channel), Types{"ack"});
  EXPECT_FALSE(events_.events.empty());
  server_->send({.type = "powerState"});
  EXPECT_EQ(takeReplies(*channel), Types{"powerState"});
}

TEST_F(MacRemoteServerAwayTest, checksTheTokenOfEveryCommandThere) {
  const auto channel = awayPhone();
  say(*channel, {.type = "command", .token = "WRONG", .command = RemoteCommand{.type = "movePointer"}});
  ASSERT_EQ(channel->sent.size(), 1u);
  EXPECT_EQ(channel->sent[0].message, "unauthorized");
  say(*channel, {.type = "sessionHello", .token = "WRONG"});
  EXPECT_EQ(channel->sent[1].type, "sessionRejected");
  EXPECT_EQ(channel->closes, 0) << "the channel stays open";
}

TEST_F(MacRemoteServerAwayTest, pairsAPhoneAndTellsItsInvite) {
  start();
  const auto code = server_->pairingCode.get();
  EXPECT_EQ(invites_->steps, Types{"publish " + code});
  report(*transport(), ChannelState::ready);
  say(*transport(), {.type = "pairRequest", .code = code});
  EXPECT_EQ(takeReplies(*transport()), (Types{"pairAccepted", "capabilities", "systemState"}));
  expectConnected("Paired");
  const auto next = server_->pairingCode.get();
  EXPECT_EQ(invites_->steps, (Types{"publish " + code, "delete " + code, "publish " + next}));
}

TEST_F(MacRemoteServerAwayTest, renewsTheInviteWhileItRuns) {
  start();
  main_->advance(480s);
  EXPECT_EQ(invites_->published.size(), 3u);
  EXPECT_EQ(invites_->published[2].code, server_->pairingCode.get());
  server_->stop();
  main_->advance(1h);
  EXPECT_EQ(invites_->published.size(), 3u);
}

TEST_F(MacRemoteServerAwayTest, saysThatThePhoneReconnectsWhileTheLineIsDown) {
  const auto channel = awayPhone();
  report(*channel, ChannelState::interrupted);
  expectNobody("iPhone reconnecting");
  server_->send({.type = "powerState"});
  EXPECT_EQ(takeReplies(*channel), Types{"powerState"}) << "it stays the current channel";
  report(*channel, ChannelState::ready);
  expectConnected();
  EXPECT_EQ(channel->closes, 0);
}

TEST_F(MacRemoteServerAwayTest, waitsAgainAndMakesAnotherAnswererWhenItFails) {
  auto channel = awayPhone();
  report(*channel, ChannelState::failed);
  expectNobody();
  EXPECT_EQ(channel->closes, 1);
  server_->send({.type = "powerState"});
  EXPECT_TRUE(takeReplies(*channel).empty());
  channel.reset();
  EXPECT_FALSE(transport()) << "between two tries nothing is kept";
  main_->advance(1499ms);
  EXPECT_EQ(answerers_.rooms.size(), 1u);
  main_->advance(1ms);
  EXPECT_EQ(answerers_.rooms.size(), 2u);
  report(*transport(), ChannelState::ready);
  expectConnected();
}

TEST_F(MacRemoteServerAwayTest, theFailureOfAWaitingAnswererLeavesALocalPhoneAlone) {
  auto phone = pairedPhone();
  report(*transport(), ChannelState::interrupted);
  expectConnected();
  report(*transport(), ChannelState::failed);
  expectConnected();
  EXPECT_FALSE(phone.peer().isEnded());
}

TEST_F(MacRemoteServerAwayTest, startsAnAnswererAtOnceWhenALocalPhoneGoesAway) {
  auto phone = pairedPhone();
  report(*transport(), ChannelState::failed);
  EXPECT_EQ(answerers_.rooms.size(), 1u);
  phone.peer().fail();
  run();
  EXPECT_EQ(answerers_.rooms.size(), 2u);
  expectNobody();
  main_->advance(1h);
  EXPECT_EQ(answerers_.rooms.size(), 2u) << "the one that was to come is not needed any more";
}

TEST_F(MacRemoteServerAwayTest, takesThePlaceOfALocalPhoneWhenItBecomesReadyLast) {
  auto phone = pairedPhone();
  std::vector<std::string> texts;
  const auto text = server_->statusText.observe([&](const std::string& value) { texts.push_back(value); });
  report(*transport(), ChannelState::ready);
  EXPECT_TRUE(phone.peer().isReleased());
  expectConnected();
  EXPECT_EQ(texts, Types{}) << "the end of the replaced connection is no news";
  server_->send({.type = "powerState"});
  EXPECT_EQ(takeReplies(*transport()), Types{"powerState"});
  EXPECT_EQ(answerers_.rooms.size(), 1u);
}

TEST_F(MacRemoteServerAwayTest, makesRoomForALocalPhoneThatComesLast) {
  const auto former = awayPhone();
  auto phone = connect();
  EXPECT_EQ(former->closes, 1);
  expectConnected();
  phone.send(command({.type = "queryKeepAwake"}));
  EXPECT_EQ(phone.replyTypes(), Types{"powerState"});
  EXPECT_TRUE(former->sent.empty());
  main_->advance(1500ms);
  EXPECT_EQ(answerers_.rooms.size(), 2u) << "the phone may come back that way";
  expectConnected();
}

TEST_F(MacRemoteServerAwayTest, aChannelThatRecoversJustWhenItIsReplacedStaysReplaced) {
  const auto former = awayPhone();
  auto peer = listeners_.last->connect();  // accepted in the turn before the recovery is heard of
  former->onChannelState(ChannelState::ready);
  run();
  test::Phone phone(peer, queue_);
  EXPECT_FALSE(phone.peer().isEnded());
  server_->send({.type = "powerState"});
  EXPECT_EQ(phone.replyTypes(), Types{"powerState"});
}

TEST_F(MacRemoteServerAwayTest, isDisconnectedLikeALocalConnection) {
  const auto channel = awayPhone();
  server_->disconnect();
  run();
  expectNobody();
  EXPECT_EQ(channel->closes, 1);
  main_->advance(1500ms);
  EXPECT_EQ(answerers_.rooms.size(), 2u);
}

TEST_F(MacRemoteServerAwayTest, stopsTheRoadWithItself) {
  const auto channel = awayPhone();
  server_->stop();
  run();
  expectNobody("Stopped");
  EXPECT_EQ(channel->closes, 1);
  report(*channel, ChannelState::ready);
  say(*channel, {.type = "sessionHello", .token = kToken});
  expectNobody("Stopped");
  main_->advance(1h);
  EXPECT_EQ(answerers_.rooms.size(), 1u);
}

TEST_F(MacRemoteServerAwayTest, doesNothingOnceTheServerIsGone) {
  const auto channel = awayPhone();
  server_.reset();
  report(*channel, ChannelState::failed);
  say(*channel, {.type = "sessionHello", .token = kToken});
  main_->advance(1h);
  EXPECT_EQ(answerers_.rooms.size(), 1u);
  EXPECT_TRUE(channel->sent.empty());
}

TEST_F(MacRemoteServerAwayTest, asksForTheListOfApplicationsAnewForANewPhone) {
  ApplicationBundle application;
  application.location = "/one";
  application.fileName = "One";
  application.identifier = "one";
  workspace_.folders.emplace_back("Applications", std::vector{application});
  const auto channel = awayPhone();
  say(*channel, command({.type = "queryApps"}));
  ASSERT_EQ(channel->sent.size(), 1u);
  EXPECT_EQ(channel->sent[0].apps->size(), 1u);
  workspace_.folders.clear();
  report(*channel, ChannelState::failed);
  main_->advance(1500ms);
  report(*transport(), ChannelState::ready);
  say(*transport(), command({.type = "queryApps"}));
  ASSERT_EQ(transport()->sent.size(), 1u);
  EXPECT_TRUE(transport()->sent[0].apps->empty());
}

}  // namespace
}  // namespace tevanto
