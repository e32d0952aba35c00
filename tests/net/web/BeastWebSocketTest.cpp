#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>

#include "net/web/BeastWebSocketFactory.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/web/TestHttpServer.h"

namespace tevanto {
namespace {

using test::eventually;
using test::TestAuthority;
using test::TestHttpReply;
using test::TestHttpRequest;
using test::TestHttpServer;
using test::TestWebSocketPeer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TestHttpReply upgrade(const TestHttpRequest&) { return {.status = 101}; }

/// One client's end, and what it was told. Everything is asked and done on its queue.
class BeastWebSocketTest : public ::testing::Test {
 protected:
  ~BeastWebSocketTest() override {
    queue_->sync([&] { socket_.reset(); });
    loop_->stop();
  }

  /// `then` runs in the turn in which it starts.
  void connect(const std::string& url, const TlsTrust& trust = {}, const std::function<void()>& then = {}) {
    BeastWebSocketFactory factory(loop_, trust, limits_);
    queue_->sync([&] {
      socket_ = factory.create(url);
      socket_->start(queue_, {.onOpen = [this] { opened_ = true; },
                              .onMessage =
                                  [this](std::string_view message) {
                                    messages_.emplace_back(message);
                                    if (onMessage_) onMessage_();
                                  },
                              .onEnd = [this](const auto& end) { ends_.push_back(end); }});
      if (then) then();
    });
  }
  /// Connects to a new server and waits for both ends to be open.
  void open() {
    server_ = std::make_unique<TestHttpServer>(upgrade);
    connect("ws://" + server_->authority() + "/connect?room=r");
    ASSERT_TRUE(settles([&] { return opened_; })) << whyItEnded();
    peer_ = server_->webSockets().at(0);
  }
  bool settles(const std::function<bool()>& condition) {
    return eventually([&] { return on<bool>(condition); });
  }
  template <class Value, class Work>
  Value on(Work work) {
    Value value{};
    queue_->sync([&] { value = work(); });
    return value;
  }
  void run(const std::function<void()>& work) { queue_->sync(work); }
  std::string whyItEnded() {
    return on<std::string>([&] { return ends_.empty() ? "" : ends_[0].error; });
  }
  std::string failureOf(const std::string& url, const TlsTrust& trust = {}) {
    connect(url, trust);
    EXPECT_TRUE(settles([&] { return !ends_.empty(); }));
    EXPECT_FALSE(on<bool>([&] { return opened_; }));
    auto why = whyItEnded();
    run([&] {
      ends_.clear();
      socket_.reset();
    });
    return why;
  }
  void say(std::string text) {
    socket_->sendText(std::move(text), [this](const auto& error) { sent_.push_back(error); });
  }
  void sendText(std::string text) {
    run([&] { say(std::move(text)); });
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("test");
  std::unique_ptr<TestHttpServer> server_;
  std::shared_ptr<TestWebSocketPeer> peer_;
  std::shared_ptr<WebSocketConnection> socket_;
  WebSocketLimits limits_;
  bool opened_ = false;
  std::vector<std::string> messages_;
  std::function<void()> onMessage_;
  std::vector<WebSocketConnection::End> ends_;
  std::vector<std::optional<std::string>> sent_;
  std::vector<std::optional<std::string>> pongs_;
};

TEST_F(BeastWebSocketTest, opensAndCarriesMessagesBothWays) {
  open();
  EXPECT_EQ(peer_->request().target, "/connect?room=r");
  EXPECT_EQ(peer_->request().header("Host"), server_->authority());
  EXPECT_EQ(peer_->request().header("Sec-WebSocket-Extensions"), "") << "no compression is offered";
  peer_->sendText("one");
  peer_->sendBinary(std::string("t\0wo", 4));
  peer_->sendText("");
  ASSERT_TRUE(settles([&] { return messages_.size() == 3; }));
  EXPECT_THAT(messages_, ElementsAre("one", std::string("t\0wo", 4), ""));
  for (int i = 0; i < 50; ++i) sendText("message " + std::to_string(i));
  ASSERT_TRUE(settles([&] { return sent_.size() == 50; }));
  ASSERT_TRUE(eventually([&] { return peer_->received().size() == 50; }));
  for (std::size_t i = 0; i < 50; ++i) EXPECT_EQ(peer_->received()[i], "message " + std::to_string(i));
  EXPECT_EQ(sent_, std::vector<std::optional<std::string>>(50));
}

TEST_F(BeastWebSocketTest, sendsNothingBeforeItIsOpen) {
  server_ = std::make_unique<TestHttpServer>(upgrade);
  connect("ws://" + server_->authority(), {}, [this] { say("early"); });
  ASSERT_TRUE(settles([&] { return opened_ && sent_.size() == 1; }));
  EXPECT_EQ(sent_[0], "it is not open yet");
  sendText("in time");
  ASSERT_TRUE(eventually([&] { return !server_->webSockets()[0]->received().empty(); }));
  EXPECT_EQ(server_->webSockets()[0]->received()[0], "in time");
}

TEST_F(BeastWebSocketTest, getsAPongForEachPing) {
  open();
  const auto ping = [&] { socket_->ping([this](const auto& error) { pongs_.push_back(error); }); };
  run(ping);
  ASSERT_TRUE(settles([&] { return pongs_.size() == 1; }));
  run([&] {
    for (int i = 0; i < 3; ++i) ping();
  });
  ASSERT_TRUE(settles([&] { return pongs_.size() == 4; }));
  EXPECT_EQ(pongs_, std::vector<std::optional<std::string>>(4));
  EXPECT_GE(peer_->pingCount(), 2);
}

TEST_F(BeastWebSocketTest, tellsOfAPongThatDoesNotCome) {
  limits_.pong = std::chrono::milliseconds(50);
  open();
  sendText("read, so that the next read is under way when reading stops");
  ASSERT_TRUE(eventually([&] { return peer_->received().size() == 1; }));
  peer_->stopReading();
  peer_->sendText("now");  // behind the order to stop
  ASSERT_TRUE(settles([&] { return messages_.size() == 1; }));
  sendText("taken still");  // by that read
  ASSERT_TRUE(eventually([&] { return peer_->received().size() == 2; }));
  run([&] {
    for (int i = 0; i < 2; ++i) socket_->ping([this](const auto& error) { pongs_.push_back(error); });
  });
  ASSERT_TRUE(settles([&] { return pongs_.size() == 2; }));
  EXPECT_EQ(pongs_, std::vector<std::optional<std::string>>(2, "no pong in time"));
  run([&] { EXPECT_TRUE(ends_.empty()); });
}

TEST_F(BeastWebSocketTest, givesUpOnAServerThatDoesNotOpen) {
  limits_.open = std::chrono::milliseconds(50);
  TestHttpServer silent([](const TestHttpRequest&) { return TestHttpReply{.silence = true}; });
  EXPECT_EQ(failureOf("ws://" + silent.authority()), silent.authority() + " took too long");
}

TEST_F(BeastWebSocketTest, tellsWhatTheServersCloseFrameSays) {
  open();
  peer_->sendText("last");
  peer_->close(4001);
  ASSERT_TRUE(settles([&] { return !ends_.empty(); }));
  EXPECT_EQ(ends_.at(0).closeCode, 4001);
  EXPECT_THAT(messages_, ElementsAre("last"));
  EXPECT_TRUE(eventually([&] { return peer_->hasEnded(); }));
}

TEST_F(BeastWebSocketTest, tellsOfALineThatBreaks) {
  open();
  peer_->drop();
  ASSERT_TRUE(settles([&] { return !ends_.empty(); }));
  EXPECT_EQ(ends_.at(0).closeCode, std::nullopt);
  EXPECT_EQ(ends_.at(0).error, "Connection reset by peer");
  sendText("into nothing");
  run([&] { socket_->cancel(WebSocketConnection::kGoingAway); });
  run([] {});
  EXPECT_EQ(ends_.size(), 1U);
  EXPECT_TRUE(sent_.empty());
}

TEST_F(BeastWebSocketTest, boundsAMessage) {
  open();
  peer_->sendText(std::string(WebSocketConnection::kMaxMessageBytes, 'x'));
  ASSERT_TRUE(settles([&] { return messages_.size() == 1; }));
  EXPECT_EQ(messages_[0].size(), WebSocketConnection::kMaxMessageBytes);
  peer_->sendText(std::string(WebSocketConnection::kMaxMessageBytes + 1, 'x'));
  ASSERT_TRUE(settles([&] { return !ends_.empty(); }));
  EXPECT_THAT(ends_[0].error, HasSubstr("exceeded the locally configured limit"));
}

TEST_F(BeastWebSocketTest, closesWithTheCodeBehindWhatItWasGiven) {
  open();
  run([&] {
    for (int i = 0; i < 20; ++i) socket_->sendText(std::string(100'000, 'x'), {});
    socket_->sendText("bye", {});
    socket_->cancel(WebSocketConnection::kGoingAway);
    socket_.reset();  // it goes on by itself
  });
  ASSERT_TRUE(eventually([&] { return peer_->hasEnded(); }));
  EXPECT_EQ(peer_->closeCode(), 1001);
  ASSERT_EQ(peer_->received().size(), 21U);
  EXPECT_EQ(peer_->received().back(), "bye");
  run([&] { EXPECT_TRUE(ends_.empty()); });
}

TEST_F(BeastWebSocketTest, isGoneSoonWhenTheServerDoesNotHearOfTheClose) {
  limits_.close = std::chrono::milliseconds(50);
  open();
  peer_->stopReading();
  peer_->sendText("now");  // behind the order to stop
  ASSERT_TRUE(settles([&] { return messages_.size() == 1; }));
  const auto alive = std::make_shared<int>();
  run([&] {
    // What waits behind a full network is held for as long as the socket lives.
    for (int i = 0; i < 70; ++i) socket_->sendText(std::string(100'000, 'x'), [alive](const auto&) {});
    socket_->cancel(WebSocketConnection::kGoingAway);
    socket_.reset();
    EXPECT_GT(alive.use_count(), 1);
  });
  EXPECT_TRUE(eventually([&] { return alive.use_count() == 1; }));
}

TEST_F(BeastWebSocketTest, holdsBackOnlySoMuch) {
  open();
  peer_->stopReading();
  run([&] {
    for (int i = 0; i < 40; ++i) {
      socket_->sendText(std::string(1'000'000, 'x'), [this](const auto& error) { sent_.push_back(error); });
    }
  });
  // The kernel takes a few more than are held here.
  const std::optional<std::string> refused = "too much is waiting to be sent";
  EXPECT_TRUE(settles([&] { return std::count(sent_.begin(), sent_.end(), refused) >= 20; }));
}

TEST_F(BeastWebSocketTest, keepsSilentOnceCancelled) {
  open();
  onMessage_ = [this] {
    socket_->cancel(WebSocketConnection::kGoingAway);
    socket_.reset();
  };
  for (int i = 0; i < 5; ++i) peer_->sendText("x");
  ASSERT_TRUE(eventually([&] { return peer_->hasEnded(); }));
  run([&] {
    EXPECT_EQ(messages_.size(), 1U);
    EXPECT_TRUE(ends_.empty());
  });
}

TEST_F(BeastWebSocketTest, endsAtOnceWhenItIsDestroyed) {
  open();
  run([&] { socket_.reset(); });
  ASSERT_TRUE(eventually([&] { return peer_->hasEnded(); }));
  EXPECT_EQ(peer_->closeCode(), std::nullopt);
  run([&] { EXPECT_TRUE(ends_.empty()); });
}

TEST_F(BeastWebSocketTest, sendsNothingWhenCancelledWhileOpening) {
  server_ =
      std::make_unique<TestHttpServer>([](const TestHttpRequest&) { return TestHttpReply{.silence = true}; });
  connect("ws://" + server_->authority());
  ASSERT_TRUE(eventually([&] { return server_->connectionCount() == 1; }));
  run([&] { socket_->cancel(WebSocketConnection::kGoingAway); });
  run([] {});
  run([&] {
    EXPECT_FALSE(opened_);
    EXPECT_TRUE(ends_.empty());
  });
}

TEST_F(BeastWebSocketTest, tellsWhyItCannotOpen) {
  EXPECT_EQ(failureOf("http://127.0.0.1/"), "no WebSocket address: http://127.0.0.1/");
  EXPECT_EQ(failureOf("nonsense"), "no WebSocket address: nonsense");
  TestHttpServer refusing([](const TestHttpRequest&) { return TestHttpReply{.status = 404}; });
  EXPECT_EQ(failureOf("ws://" + refusing.authority()), "refused with HTTP status 404");
  TestHttpServer babbling([](const TestHttpRequest&) { return TestHttpReply{.raw = "nonsense\r\n\r\n"}; });
  EXPECT_THAT(failureOf("ws://" + babbling.authority()), HasSubstr("no WebSocket: "));
  std::string nobody;
  {
    TestHttpServer server(upgrade);
    nobody = server.authority();
  }
  EXPECT_EQ(failureOf("ws://" + nobody), "no connection to " + nobody + ": Connection refused");
}

TEST_F(BeastWebSocketTest, speaksTlsWithWhomItTrusts) {
  const TestAuthority authority;
  server_ = std::make_unique<TestHttpServer>(upgrade, authority.issue({"DNS:localhost"}));
  connect("wss://localhost:" + std::to_string(server_->port()) + "/connect", {authority.certificatePem()});
  ASSERT_TRUE(settles([&] { return opened_; })) << whyItEnded();
  peer_ = server_->webSockets().at(0);
  EXPECT_EQ(peer_->request().serverName, "localhost");
  peer_->sendText("secret");
  sendText("back");
  ASSERT_TRUE(settles([&] { return messages_.size() == 1; }));
  ASSERT_TRUE(eventually([&] { return peer_->received().size() == 1; }));
  run([&] { socket_->cancel(WebSocketConnection::kGoingAway); });
  ASSERT_TRUE(eventually([&] { return peer_->hasEnded(); }));
  EXPECT_EQ(peer_->closeCode(), 1001);
}

TEST_F(BeastWebSocketTest, refusesWhomItDoesNotTrust) {
  using std::chrono::hours;
  const TestAuthority authority;
  const TlsTrust trust{authority.certificatePem()};
  TestHttpServer otherName(upgrade, authority.issue({"DNS:elsewhere.example"}));
  EXPECT_THAT(failureOf("wss://localhost:" + std::to_string(otherName.port()), trust),
              HasSubstr("not trusted: hostname mismatch"));
  TestHttpServer selfSigned(upgrade, TestAuthority::selfSigned({"IP:127.0.0.1"}));
  EXPECT_THAT(failureOf("wss://" + selfSigned.authority(), trust), HasSubstr("self-signed certificate"));
  TestHttpServer expired(upgrade, authority.issue({"IP:127.0.0.1"}, {.from = -hours(2), .until = -hours(1)}));
  EXPECT_THAT(failureOf("wss://" + expired.authority(), trust), HasSubstr("certificate has expired"));
  EXPECT_TRUE(otherName.webSockets().empty() && selfSigned.webSockets().empty() &&
              expired.webSockets().empty());
}

}  // namespace
}  // namespace tevanto
