#include "p2p/ice/IceServerSource.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/fakes/DeploymentSources.h"
#include "tests/support/fakes/FakeHttpClient.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;
using Servers = std::vector<RemoteIceServerConfig>;

constexpr const char* kAnswer =
    R"({"iceServers":[{"urls":["turn:fetched"],"username":"u","credential":"p"}]})";
const RemoteIceServerConfig kFetched{{"turn:fetched"}, "u", "p"};
const RemoteIceServerConfig kCached{{"turn:cached"}, {}, {}};
const RemoteIceServerConfig kOverride{{"turn:override"}, {}, {}};
const RemoteIceServerConfig kStun1{{"stun:s1:19302"}, {}, {}};
const RemoteIceServerConfig kStun2{{"stun:s2:19302"}, {}, {}};

class IceServerSourceTest : public testing::Test {
 protected:
  IceServerSourceTest() {
    sources_.environment = {{"TEVANTO_STUN_HOSTS", "s1,s2"}, {"TEVANTO_RELAY_URLS", "wss://relay"}};
  }

  IceServerSource& source() {
    if (!source_) {
      source_ = std::make_shared<IceServerSource>(
          sources_.settings(), cache(), TurnCredentialService(http_), [this] { return now_; },
          Logger(log_, "webrtc"));
    }
    return *source_;
  }
  RemoteIceServerPersistentCache cache() {
    return {sources_.defaults, [this] { return now_; }};
  }

  Servers load() {
    std::vector<Servers> answers;
    source().load(queue_, [&](Servers servers) { answers.push_back(std::move(servers)); });
    EXPECT_TRUE(answers.empty());
    queue_->advance(seconds(4));
    EXPECT_EQ(answers.size(), 1U);
    return answers.empty() ? Servers{} : answers.front();
  }

  system_clock::time_point now_{seconds(1'700'000'000)};
  test::DeploymentSources sources_;
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("caller");
  std::shared_ptr<test::FakeHttpClient> http_ = std::make_shared<test::FakeHttpClient>();
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
  std::shared_ptr<IceServerSource> source_;
};

TEST_F(IceServerSourceTest, hasTheStunServersAtLeast) {
  EXPECT_EQ(source().known(), (Servers{kStun1, kStun2}));
  EXPECT_TRUE(http_->requests.empty());
}

TEST_F(IceServerSourceTest, prefersTheOverrideAndAsksNobody) {
  sources_.environment["TEVANTO_TURN_URLS"] = "turn:override";
  ASSERT_TRUE(cache().save({kCached}).ok());
  EXPECT_EQ(source().known(), (Servers{kOverride, kStun1, kStun2}));
  EXPECT_EQ(load(), (Servers{kOverride, kStun1, kStun2}));
  EXPECT_TRUE(http_->requests.empty());
}

TEST_F(IceServerSourceTest, takesTheCacheWhileItIsFresh) {
  ASSERT_TRUE(cache().save({kCached}).ok());
  now_ += seconds(2699);
  EXPECT_EQ(source().known(), (Servers{kCached, kStun1, kStun2}));
  EXPECT_EQ(load(), (Servers{kCached, kStun1, kStun2}));
  EXPECT_TRUE(http_->requests.empty());
  now_ += seconds(1);
  EXPECT_EQ(source().known(), (Servers{kStun1, kStun2}));
}

TEST_F(IceServerSourceTest, namesNoServerTwice) {
  ASSERT_TRUE(cache().save({kCached, kStun2}).ok());
  EXPECT_EQ(source().known(), (Servers{kCached, kStun2, kStun1}));
}

TEST_F(IceServerSourceTest, fetchesOnceAndKeepsTheAnswerInMemoryAndInTheCache) {
  http_->willAnswer(200, kAnswer);
  EXPECT_EQ(load(), (Servers{kFetched, kStun1, kStun2}));
  EXPECT_EQ(cache().load(), (BrokeredIceServers{{kFetched}, now_}));
  now_ += seconds(2699);
  ASSERT_TRUE(sources_.defaults.remove(kTurnCredentialsKey).ok());
  EXPECT_EQ(load(), (Servers{kFetched, kStun1, kStun2}));
  EXPECT_EQ(http_->requests.size(), 1U);
}

TEST_F(IceServerSourceTest, fetchesAnewAfter45Minutes) {
  http_->willAnswer(200, kAnswer);
  load();
  now_ += seconds(2700);
  EXPECT_EQ(source().known(), (Servers{kStun1, kStun2}));
  http_->willAnswer(200, R"({"iceServers":[{"urls":["turn:newer"]}]})");
  EXPECT_EQ(load().front().urlStrings.front(), "turn:newer");
  EXPECT_EQ(http_->requests.size(), 2U);
}

TEST_F(IceServerSourceTest, tellsWhenAskingAgainGivesFresherServers) {
  EXPECT_EQ(source().freshFor(), seconds(2700));  // nothing is known yet
  http_->willAnswer(200, kAnswer);
  load();
  now_ += seconds(700);
  EXPECT_EQ(source().freshFor(), seconds(2001));
  now_ += seconds(2000);
  EXPECT_EQ(source().freshFor(), seconds(2700));
  sources_.environment.erase("TEVANTO_RELAY_URLS");
  EXPECT_FALSE(source().freshFor());  // nobody to ask
}

TEST_F(IceServerSourceTest, neverAgesWhatIsConfigured) {
  sources_.environment["TEVANTO_TURN_URLS"] = "turn:override";
  EXPECT_FALSE(source().freshFor());
}

TEST_F(IceServerSourceTest, distrustsItsCopyWhenTheClockWasSetBack) {
  http_->willAnswer(200, kAnswer);
  load();
  now_ -= seconds(1);
  EXPECT_EQ(source().known(), (Servers{kStun1, kStun2}));
}

// A peer that starts stores its servers with the date of that moment.
TEST_F(IceServerSourceTest, doesNotMakeCredentialsYoungerThanTheyAre) {
  http_->willAnswer(200, kAnswer);
  load();
  now_ += seconds(2000);
  ASSERT_TRUE(cache().save(source().known()).ok());
  now_ += seconds(700);
  EXPECT_EQ(source().known(), (Servers{kStun1, kStun2}));
}

TEST_F(IceServerSourceTest, goesOnWithWhatThereIsWhenTheServiceFails) {
  http_->willFail("connection refused");
  EXPECT_EQ(load(), (Servers{kStun1, kStun2}));
  http_->willAnswer(500, "oops");
  EXPECT_EQ(load(), (Servers{kStun1, kStun2}));
  EXPECT_EQ(load(), (Servers{kStun1, kStun2})) << "a service that does not answer";
  EXPECT_EQ(http_->requests.size(), 3U);
  EXPECT_FALSE(sources_.defaults.value(kTurnCredentialsKey));
}

TEST_F(IceServerSourceTest, goesOnWithoutTurnWhenTheAnswerHasNone) {
  http_->willAnswer(200, R"({"iceServers":[{"urls":["stun:other"]}]})");
  EXPECT_EQ(load(), (Servers{kStun1, kStun2}));
  EXPECT_FALSE(cache().load());
  http_->willAnswer(200, kAnswer);
  EXPECT_EQ(load(), (Servers{kFetched, kStun1, kStun2}));
}

TEST_F(IceServerSourceTest, reportsACacheThatCannotBeWrittenAndGoesOn) {
  sources_.defaults.failWith("disk full");
  http_->willAnswer(200, kAnswer);
  EXPECT_EQ(load(), (Servers{kFetched, kStun1, kStun2}));
  ASSERT_EQ(log_->lines().size(), 1U);
  EXPECT_EQ(log_->lines()[0].text, "webrtc: cannot keep TURN credentials: disk full");
}

}  // namespace
}  // namespace tevanto
