#include "p2p/signaling/SignalingClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fakes/FakeWebSocket.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::FakeWebSocketPeer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SignalingClientTest : public ::testing::Test {
 protected:
  SignalingClientTest() { makeClient({"wss://primary.example", "wss://fallback.example:8443"}); }

  void makeClient(std::vector<std::string> relays) {
    client_ = SignalingClient::create(std::move(relays), sockets_, queue_, log_);
    client_->onOpen = [this] { note("open"); };
    client_->onMessage = [this](const SignalMessage& message) {
      EXPECT_TRUE(queue_->isCurrent());
      messages_.push_back(message);
    };
    client_->onClose = [this] { note("close"); };
  }
  void note(const std::string& event) {
    EXPECT_TRUE(queue_->isCurrent());
    events_.push_back(event);
  }
  void connect(const std::string& room = "room", SignalRole role = SignalRole::mac) {
    client_->connect(room, role);
    queue_->runPending();
  }
  FakeWebSocketPeer& peer(std::size_t index) { return *sockets_->peers.at(index); }
  void open(std::size_t index = 0) {
    peer(index).open();
    queue_->runPending();
  }
  void connectAndOpen() {
    connect();
    open();
  }
  std::vector<std::string> log() const {
    std::vector<std::string> texts;
    for (const auto& line : log_->lines()) texts.push_back(line.text);
    return texts;
  }
  std::string lastLog() const { return log_->lines().empty() ? "" : log_->lines().back().text; }

  std::shared_ptr<test::ManualQueue> queue_ =
      std::make_shared<test::ManualQueue>(SignalingClient::kQueueLabel);
  std::shared_ptr<test::FakeWebSocketFactory> sockets_ = std::make_shared<test::FakeWebSocketFactory>();
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
  std::shared_ptr<SignalingClient> client_;
  std::vector<std::string> events_;
  std::vector<SignalMessage> messages_;
};

TEST_F(SignalingClientTest, livesOnItsStateQueue) {
  connect();
  EXPECT_EQ(peer(0).queueLabel(), "tevanto.signaling.state");
}

TEST_F(SignalingClientTest, doesNothingBeforeItIsTold) {
  queue_->advance(seconds(100));
  EXPECT_THAT(sockets_->peers, IsEmpty());
  client_->connect("room", SignalRole::mac);
  EXPECT_THAT(sockets_->peers, IsEmpty());  // nor inside the call
}

TEST_F(SignalingClientTest, asksTheRelayForItsRoomAndRole) {
  connect("8A-b_1", SignalRole::mac);
  EXPECT_EQ(peer(0).url, "wss://primary.example/connect?room=8A-b_1&role=mac");
  makeClient({"ws://[::1]:8080/ignored?room=other"});
  connect("r o&o=m/ü?#+%", SignalRole::phone);
  EXPECT_EQ(peer(1).url, "ws://[::1]:8080/connect?room=r%20o%26o%3Dm%2F%C3%BC%3F%23%2B%25&role=phone");
}

TEST_F(SignalingClientTest, opens) {
  connectAndOpen();
  EXPECT_THAT(events_, ElementsAre("open"));
  EXPECT_THAT(log(), ElementsAre("signaling: connecting role=mac via primary.example",
                                 "signaling: open via primary.example"));
}

TEST_F(SignalingClientTest, takesTheFallbackWhenThePrimaryRefuses) {
  connect("room", SignalRole::phone);
  peer(0).fail("Connection refused");
  queue_->runPending();
  EXPECT_EQ(peer(1).url, "wss://fallback.example:8443/connect?room=room&role=phone");
  EXPECT_EQ(peer(0).cancelledWith, std::nullopt) << "it had ended by itself";
  open(1);
  EXPECT_THAT(events_, ElementsAre("open"));
  EXPECT_THAT(log(), ElementsAre("signaling: connecting role=phone via primary.example",
                                 "signaling: receive failed: Connection refused",
                                 "signaling: connecting role=phone via fallback.example",
                                 "signaling: open via fallback.example"));
}

TEST_F(SignalingClientTest, tellsOnceWhenAllRelaysFail) {
  connect();
  peer(0).fail("a");
  queue_->runPending();
  peer(1).closeWith(4000);
  queue_->runPending();
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("close"));
  EXPECT_THAT(
      log(), ElementsAre("signaling: connecting role=mac via primary.example", "signaling: receive failed: a",
                         "signaling: connecting role=mac via fallback.example",
                         "signaling: server closed (code 4000)", "signaling: all signaling hosts failed"));
  EXPECT_EQ(sockets_->peers.size(), 2U);
  EXPECT_EQ(queue_->pendingCount(), 0U);
}

TEST_F(SignalingClientTest, triesAsManyRelaysAsThereAre) {
  makeClient({"wss://a.example", "wss://b.example", "wss://c.example"});
  connect();
  for (std::size_t i = 0; i < 3; ++i) {
    peer(i).fail("x");
    queue_->runPending();
  }
  EXPECT_EQ(sockets_->peers.size(), 3U);
  EXPECT_THAT(events_, ElementsAre("close"));
}

TEST_F(SignalingClientTest, closesWithoutRelays) {
  makeClient({});
  connect();
  EXPECT_THAT(events_, ElementsAre("close"));
  EXPECT_THAT(log(), ElementsAre("signaling: all signaling hosts failed"));
}

TEST_F(SignalingClientTest, givesARelay8SecondsToOpen) {
  connect();
  queue_->advance(seconds(8) - milliseconds(1));
  EXPECT_EQ(sockets_->peers.size(), 1U);
  queue_->advance(milliseconds(1));
  ASSERT_EQ(sockets_->peers.size(), 2U);
  EXPECT_EQ(peer(0).cancelledWith, 1001);
  EXPECT_THAT(log(), ElementsAre("signaling: connecting role=mac via primary.example",
                                 "signaling: open timed out via primary.example",
                                 "signaling: connecting role=mac via fallback.example"));
  queue_->advance(seconds(8));
  EXPECT_EQ(peer(1).cancelledWith, 1001);
  EXPECT_THAT(events_, ElementsAre("close"));
  EXPECT_EQ(lastLog(), "signaling: all signaling hosts failed");
}

TEST_F(SignalingClientTest, openInTimeIsOpenForGood) {
  connect();
  queue_->advance(seconds(8) - milliseconds(1));
  open();
  queue_->advance(seconds(10));
  EXPECT_THAT(events_, ElementsAre("open"));
  EXPECT_EQ(sockets_->peers.size(), 1U);
}

TEST_F(SignalingClientTest, takesNoNoticeOfARelayThatItGaveUp) {
  connect();
  peer(0).isStubborn = true;
  queue_->advance(seconds(8));
  open(0);
  peer(0).send(R"({"type":"hello"})");
  peer(0).closeWith(1000);
  queue_->runPending();
  EXPECT_THAT(events_, IsEmpty());
  EXPECT_THAT(messages_, IsEmpty());
  EXPECT_EQ(sockets_->peers.size(), 2U);
  EXPECT_EQ(lastLog(), "signaling: connecting role=mac via fallback.example");
  open(1);
  EXPECT_THAT(events_, ElementsAre("open"));
}

TEST_F(SignalingClientTest, doesNotTryAnotherRelayOnceOneWasOpen) {
  connectAndOpen();
  peer(0).fail("Connection reset by peer");
  queue_->runPending();
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("open", "close"));
  EXPECT_EQ(lastLog(), "signaling: receive failed: Connection reset by peer");
  EXPECT_EQ(sockets_->peers.size(), 1U);
  EXPECT_EQ(queue_->pendingCount(), 0U);
}

TEST_F(SignalingClientTest, tellsTheCodeWithWhichTheServerClosed) {
  connectAndOpen();
  peer(0).closeWith(1013);
  queue_->runPending();
  EXPECT_THAT(events_, ElementsAre("open", "close"));
  EXPECT_EQ(lastLog(), "signaling: server closed (code 1013)");
}

TEST_F(SignalingClientTest, pings25SecondsAfterTheOpenAndAfterEachPong) {
  connectAndOpen();
  queue_->advance(seconds(25) - milliseconds(1));
  EXPECT_EQ(peer(0).pingCount, 0);
  queue_->advance(milliseconds(1));
  EXPECT_EQ(peer(0).pingCount, 1);
  queue_->advance(seconds(10));
  EXPECT_EQ(peer(0).pingCount, 1);
  peer(0).pong();
  queue_->runPending();
  queue_->advance(seconds(25) - milliseconds(1));
  EXPECT_EQ(peer(0).pingCount, 1);
  queue_->advance(milliseconds(1));
  EXPECT_EQ(peer(0).pingCount, 2);
  EXPECT_THAT(events_, ElementsAre("open"));
}

TEST_F(SignalingClientTest, endsWhenAPingFails) {
  connectAndOpen();
  queue_->advance(seconds(25));
  peer(0).pong("no pong in time");
  queue_->runPending();
  EXPECT_EQ(lastLog(), "signaling: ping failed: no pong in time");
  EXPECT_EQ(peer(0).cancelledWith, 1001);
  EXPECT_THAT(events_, ElementsAre("open", "close"));
  queue_->advance(seconds(100));
  EXPECT_EQ(peer(0).pingCount, 1);
}

TEST_F(SignalingClientTest, neverWakesUpButForItsTimers) {
  connect();
  EXPECT_EQ(queue_->pendingCount(), 1U);  // the open timeout
  open();
  EXPECT_EQ(queue_->pendingCount(), 1U);  // the next ping
  queue_->advance(seconds(25));
  EXPECT_EQ(queue_->pendingCount(), 0U);  // the pong is awaited
}

TEST_F(SignalingClientTest, handsOverWhatTheRoomSays) {
  connectAndOpen();
  peer(0).send(R"({"type":"hello"})");
  peer(0).send("nonsense");
  peer(0).send("");
  peer(0).send("{\"type\":\"\xFF\"}");
  peer(0).send(R"({"type":"ice","candidate":"c","sdpMid":"0","sdpMLineIndex":0})");
  queue_->runPending();
  EXPECT_THAT(messages_,
              ElementsAre(SignalMessage{.type = "hello"},
                          SignalMessage{.type = "ice", .candidate = "c", .sdpMid = "0", .sdpMLineIndex = 0}));
  EXPECT_THAT(events_, ElementsAre("open"));
}

TEST_F(SignalingClientTest, sendsMessagesInOrder) {
  connectAndOpen();
  client_->send({.type = "hello"});
  client_->send({.type = "offer", .sdp = "v=0"});
  queue_->runPending();
  EXPECT_THAT(peer(0).received, ElementsAre(R"({"type":"hello"})", R"({"type":"offer","sdp":"v=0"})"));
}

TEST_F(SignalingClientTest, logsWhatCannotBeSentAndGoesOn) {
  connectAndOpen();
  peer(0).sendError = "Broken pipe";
  client_->send({.type = "answer"});
  queue_->runPending();
  EXPECT_EQ(lastLog(), "signaling: send answer failed: Broken pipe");
  EXPECT_THAT(events_, ElementsAre("open"));
}

TEST_F(SignalingClientTest, dropsWhatIsSentBeforeAndAfterIt) {
  client_->send({.type = "early"});
  queue_->runPending();
  connectAndOpen();
  client_->close();
  client_->send({.type = "late"});
  queue_->runPending();
  EXPECT_THAT(peer(0).received, ElementsAre(R"({"type":"bye"})"));
}

TEST_F(SignalingClientTest, dropsWhatIsSentWhileItConnects) {
  connect();
  client_->send({.type = "offer", .sdp = "v=0"});
  queue_->runPending();
  open();
  EXPECT_THAT(peer(0).received, IsEmpty());
  client_->send({.type = "hello"});
  queue_->runPending();
  EXPECT_THAT(peer(0).received, ElementsAre(R"({"type":"hello"})"));
}

TEST_F(SignalingClientTest, saysByeWhenItClosesWhileOpen) {
  connectAndOpen();
  client_->send({.type = "ice"});
  client_->close();
  queue_->runPending();
  EXPECT_THAT(peer(0).received, ElementsAre(R"({"type":"ice"})", R"({"type":"bye"})"));
  EXPECT_EQ(peer(0).cancelledWith, 1001);
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("open"));
  EXPECT_EQ(queue_->pendingCount(), 0U);
}

TEST_F(SignalingClientTest, saysNothingWhenItClosesWhileConnecting) {
  connect();
  client_->close();
  queue_->runPending();
  EXPECT_THAT(peer(0).received, IsEmpty());
  EXPECT_EQ(peer(0).cancelledWith, 1001);
  queue_->advance(seconds(100));
  EXPECT_EQ(sockets_->peers.size(), 1U);
  EXPECT_THAT(events_, IsEmpty());
  EXPECT_EQ(queue_->pendingCount(), 0U);
}

TEST_F(SignalingClientTest, closesInEveryOtherState) {
  client_->close();  // idle
  connect();
  EXPECT_THAT(sockets_->peers, IsEmpty());
  makeClient({"wss://a.example"});
  connect();
  peer(0).fail("x");
  queue_->runPending();
  client_->close();  // exhausted
  client_->close();
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("close"));
  makeClient({"wss://a.example"});
  connect();
  open(1);
  peer(1).fail("x");
  queue_->runPending();
  client_->close();  // closed by the relay
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("close", "open", "close"));
  EXPECT_THAT(peer(1).received, IsEmpty());
}

TEST_F(SignalingClientTest, callsNobodyOnceItsCloseWasCalled) {
  connectAndOpen();
  peer(0).isStubborn = true;
  peer(0).send(R"({"type":"hello"})");
  peer(0).fail("x");
  client_->close();  // what the relay sent waits in front of it on the queue
  queue_->runPending();
  peer(0).send(R"({"type":"hello"})");
  open();
  EXPECT_THAT(messages_, IsEmpty());
  EXPECT_THAT(events_, ElementsAre("open"));
}

TEST_F(SignalingClientTest, closesEvenWhenItsOwnerLetsGoOfIt) {
  connectAndOpen();
  client_->close();
  client_.reset();
  queue_->runPending();
  EXPECT_THAT(peer(0).received, ElementsAre(R"({"type":"bye"})"));
  EXPECT_EQ(peer(0).cancelledWith, 1001);
}

TEST_F(SignalingClientTest, isGoneWithoutACallWhenItsOwnerForgetsIt) {
  connectAndOpen();
  const std::weak_ptr<SignalingClient> gone = client_;
  client_.reset();
  EXPECT_TRUE(gone.expired());
  peer(0).isStubborn = true;
  peer(0).fail("x");
  queue_->runPending();
  queue_->advance(seconds(100));
  EXPECT_THAT(events_, ElementsAre("open"));
  EXPECT_EQ(peer(0).pingCount, 0);
}

TEST_F(SignalingClientTest, takesAnEndpointThatIsNoneForARelayThatFails) {
  makeClient({"https://primary.example", "wss://fallback.example"});
  connect();
  EXPECT_EQ(peer(0).url, "https://primary.example");  // the socket refuses it
  peer(0).fail("no WebSocket address");
  queue_->runPending();
  open(1);
  EXPECT_THAT(events_, ElementsAre("open"));
}

}  // namespace
}  // namespace tevanto
