#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/queue/EventLoop.h"
#include "net/web/BeastWebSocketFactory.h"
#include "p2p/signaling/SignalingClient.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/web/TestHttpServer.h"

namespace tevanto {
namespace {

using test::eventually;
using test::TestAuthority;
using test::TestHttpReply;
using test::TestHttpServer;
using ::testing::ElementsAre;

TestHttpReply upgrade(const test::TestHttpRequest&) { return {.status = 101}; }

std::string portWhereNobodyListens() {
  const TestHttpServer server(upgrade);
  return std::to_string(server.port());
}

/// A client on real sockets.
class SignalingClientSocketTest : public ::testing::Test {
 protected:
  ~SignalingClientSocketTest() override { loop_->stop(); }

  void connect(std::vector<std::string> relays, const TlsTrust& trust) {
    client_ = SignalingClient::create(std::move(relays),
                                      std::make_shared<BeastWebSocketFactory>(loop_, trust), queue_, log_);
    client_->onOpen = [this] { events_.push_back("open"); };
    client_->onMessage = [this](const SignalMessage& message) { events_.push_back(message.type); };
    client_->onClose = [this] { events_.push_back("close"); };
    client_->connect("a room", SignalRole::mac);
  }
  std::vector<std::string> events() {
    std::vector<std::string> copy;
    queue_->sync([&] { copy = events_; });
    return copy;
  }
  bool happens(const std::string& event) {
    return eventually([&] {
      const auto sofar = events();
      return !sofar.empty() && sofar.back() == event;
    });
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue(SignalingClient::kQueueLabel);
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
  std::shared_ptr<SignalingClient> client_;
  std::vector<std::string> events_;  // on the queue
};

TEST_F(SignalingClientSocketTest, failsOverFromARefusedPortToALivingRelay) {
  const TestAuthority authority;
  TestHttpServer relay(upgrade, authority.issue({"DNS:localhost"}));
  connect({"wss://localhost:" + portWhereNobodyListens(), "wss://localhost:" + std::to_string(relay.port())},
          {authority.certificatePem()});
  ASSERT_TRUE(happens("open")) << log_->lines().back().text;
  const auto peer = relay.webSockets().at(0);
  EXPECT_EQ(peer->request().target, "/connect?room=a%20room&role=mac");
  peer->sendText("nonsense");
  peer->sendBinary(R"({"type":"hello"})");
  ASSERT_TRUE(happens("hello"));
  client_->send({.type = "answer", .sdp = "v=0"});
  client_->close();
  client_.reset();
  ASSERT_TRUE(eventually([&] { return peer->hasEnded(); }));
  EXPECT_THAT(peer->received(), ElementsAre(R"({"type":"answer","sdp":"v=0"})", R"({"type":"bye"})"));
  EXPECT_EQ(peer->closeCode(), 1001);
  EXPECT_THAT(events(), ElementsAre("open", "hello"));
  ASSERT_EQ(log_->lines().size(), 4U);
  EXPECT_EQ(log_->lines()[0].text, "signaling: connecting role=mac via localhost");
  EXPECT_EQ(log_->lines()[3].text, "signaling: open via localhost");
}

TEST_F(SignalingClientSocketTest, tellsOfTheRelaysEnd) {
  TestHttpServer relay(upgrade);
  connect({"ws://" + relay.authority(), "ws://127.0.0.1:" + portWhereNobodyListens()}, {});
  ASSERT_TRUE(happens("open"));
  relay.webSockets().at(0)->close(1001);
  ASSERT_TRUE(happens("close"));
  EXPECT_THAT(events(), ElementsAre("open", "close"));
  EXPECT_EQ(log_->lines().back().text, "signaling: server closed (code 1001)");
}

}  // namespace
}  // namespace tevanto
