#include "p2p/ice/TurnCredentialService.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/fakes/FakeHttpClient.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Servers = std::vector<RemoteIceServerConfig>;

constexpr const char* kServiceAnswer =
    R"({"iceServers":[{"urls":["turn:a"],"username":"u","credential":"p"}]})";
const Servers kServers{{{"turn:a"}, "u", "p"}};

TEST(CredentialURL, standsBesideTheRelay) {
  EXPECT_EQ(credentialURL("wss://relay.example.org"), "https://relay.example.org/turn-credentials");
  EXPECT_EQ(credentialURL("wss://relay.example.org:8443"), "https://relay.example.org:8443/turn-credentials");
  EXPECT_EQ(credentialURL("ws://127.0.0.1:8080"), "http://127.0.0.1:8080/turn-credentials");
  EXPECT_EQ(credentialURL("ws://[::1]:8080"), "http://[::1]:8080/turn-credentials");
  EXPECT_EQ(credentialURL("wss://relay.example.org/"), "https://relay.example.org/turn-credentials");
  EXPECT_EQ(credentialURL("WSS://relay.example.org/connect?room=a"),
            "https://relay.example.org/turn-credentials");
  for (const char* other :
       {"", "relay.example.org", "https://relay.example.org", "wss://", "wss:///x", "ws:/a", "xws://a"}) {
    EXPECT_FALSE(credentialURL(other)) << other;
  }
}

class TurnCredentialServiceTest : public testing::Test {
 protected:
  void fetch(const std::vector<std::string>& relays) {
    service_.fetch(relays, queue_, [this](auto servers) {
      EXPECT_TRUE(queue_->isCurrent());
      answers_.push_back(std::move(servers));
    });
    EXPECT_TRUE(answers_.empty());
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("caller");
  std::shared_ptr<test::FakeHttpClient> http_ = std::make_shared<test::FakeHttpClient>();
  TurnCredentialService service_{http_};
  std::vector<std::optional<Servers>> answers_;
};

TEST_F(TurnCredentialServiceTest, asksWithASmallGetRequest) {
  http_->willAnswer(200, kServiceAnswer);
  fetch({"wss://a:1", "wss://b"});
  queue_->runPending();
  ASSERT_EQ(http_->requests.size(), 1U);
  EXPECT_EQ(http_->requests[0].method, "GET");
  EXPECT_EQ(http_->requests[0].url, "https://a:1/turn-credentials");
  EXPECT_EQ(http_->requests[0].timeout, seconds(4));
  EXPECT_TRUE(http_->requests[0].body.empty());
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_EQ(answers_[0], kServers);
}

TEST_F(TurnCredentialServiceTest, takesAReadableAnswerWhateverItHolds) {
  http_->willAnswer(203, R"({"iceServers":[]})");
  fetch({"wss://a"});
  queue_->runPending();
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_EQ(answers_[0], Servers{});
}

TEST_F(TurnCredentialServiceTest, goesOnToTheNextRelay) {
  http_->willFail("connection refused");
  http_->willAnswer(404, "not found");
  http_->willAnswer(200, kServiceAnswer);
  fetch({"wss://a", "nonsense", "ws://b", "wss://c", "wss://d"});
  queue_->runPending();
  ASSERT_EQ(http_->requests.size(), 3U);
  EXPECT_EQ(http_->requests[1].url, "http://b/turn-credentials");
  EXPECT_EQ(http_->requests[2].url, "https://c/turn-credentials");
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_EQ(answers_[0], kServers);
}

TEST_F(TurnCredentialServiceTest, waits4SecondsForEach) {
  fetch({"wss://a", "wss://b"});
  queue_->advance(milliseconds(3999));
  EXPECT_EQ(http_->requests.size(), 1U);
  queue_->advance(milliseconds(1));
  EXPECT_EQ(http_->requests.size(), 2U);
  queue_->advance(milliseconds(3999));
  EXPECT_TRUE(answers_.empty());
  queue_->advance(milliseconds(1));
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_FALSE(answers_[0]);
}

TEST_F(TurnCredentialServiceTest, failsAtOnceWithoutRelays) {
  fetch({});
  queue_->runPending();
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_FALSE(answers_[0]);
  EXPECT_TRUE(http_->requests.empty());
}

TEST_F(TurnCredentialServiceTest, failsWhenNoAnswerCanBeRead) {
  http_->willAnswer(200, "<html></html>");
  http_->willAnswer(200, R"({"iceServers":[{"urls":"turn:a"}]})");
  fetch({"wss://a", "wss://b"});
  queue_->runPending();
  ASSERT_EQ(answers_.size(), 1U);
  EXPECT_FALSE(answers_[0]);
}

}  // namespace
}  // namespace tevanto
