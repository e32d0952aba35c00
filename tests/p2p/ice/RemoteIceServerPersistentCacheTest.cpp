#include "p2p/ice/RemoteIceServerPersistentCache.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "core/settings/JsonUserDefaults.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

const RemoteIceServerConfig kCachedStun{{"stun:a"}, {}, {}};
const RemoteIceServerConfig kCachedTurn{{"turn:a"}, "u", "p"};

class RemoteIceServerPersistentCacheTest : public testing::Test {
 protected:
  std::optional<std::vector<RemoteIceServerConfig>> loaded() const {
    const auto brokered = cache_.load();
    return brokered ? std::optional(brokered->servers) : std::nullopt;
  }

  Result<void> store(std::string_view text) {
    DefaultsData data;
    for (const char character : text) data.push_back(static_cast<std::byte>(character));
    return defaults_.set(kTurnCredentialsKey, std::move(data));
  }

  system_clock::time_point now_{seconds(1'700'000'000)};
  test::FakeUserDefaults defaults_;
  RemoteIceServerPersistentCache cache_{defaults_, [this] { return now_; }};
};

TEST_F(RemoteIceServerPersistentCacheTest, isEmptyAtFirst) { EXPECT_FALSE(loaded()); }

TEST_F(RemoteIceServerPersistentCacheTest, keepsAJsonTextAsDataUnderItsKey) {
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  const auto data = defaults_.data("tevanto.turn-credentials.v1");
  ASSERT_TRUE(data);
  const std::string text(reinterpret_cast<const char*>(data->data()), data->size());
  EXPECT_EQ(decodeBrokeredIceServers(text), (BrokeredIceServers{{kCachedTurn}, now_}));
  EXPECT_EQ(text,
            R"({"servers":[{"urls":["turn:a"],"username":"u","credential":"p"}],"loadedAt":7.216928E8})");
}

TEST_F(RemoteIceServerPersistentCacheTest, givesBackTheWholeListUnchanged) {
  const std::vector servers{kCachedStun, kCachedTurn, kCachedStun};
  ASSERT_TRUE(cache_.save(servers).ok());
  EXPECT_EQ(loaded(), servers);
}

TEST_F(RemoteIceServerPersistentCacheTest, credentialsDoNotBecomeYoungerByBeingUsed) {
  ASSERT_TRUE(cache_.remember({kCachedTurn}).ok());
  ASSERT_TRUE(loaded());
  for (int use = 0; use < 3; ++use) {
    now_ += std::chrono::minutes(14);
    ASSERT_TRUE(cache_.remember({kCachedTurn, kCachedStun}).ok());
    EXPECT_TRUE(loaded());
  }
  now_ += std::chrono::minutes(3);
  EXPECT_FALSE(loaded()) << "45 minutes after they were fetched";
  ASSERT_TRUE(cache_.remember({kCachedTurn}).ok());
  EXPECT_TRUE(loaded()) << "what is no longer stored is new";
}

TEST_F(RemoteIceServerPersistentCacheTest, remembersOtherCredentialsWithTheirDate) {
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  now_ += std::chrono::minutes(44);
  auto renewed = kCachedTurn;
  renewed.credential = "another";
  ASSERT_TRUE(cache_.remember({renewed}).ok());
  now_ += std::chrono::minutes(44);
  EXPECT_EQ(loaded(), std::vector{renewed});
}

TEST_F(RemoteIceServerPersistentCacheTest, isOfNoUseToAnotherDeployment) {
  const auto of = [this](const std::string& origin) {
    return RemoteIceServerPersistentCache(
        defaults_, [this] { return now_; }, origin);
  };
  ASSERT_TRUE(of("wss://first").save({kCachedTurn}).ok());
  EXPECT_TRUE(of("wss://first").load());
  EXPECT_FALSE(of("wss://second").load());
  ASSERT_TRUE(of("wss://second").save({kCachedTurn}).ok());
  EXPECT_TRUE(of("wss://second").load());
  EXPECT_FALSE(of("wss://first").load());
}

TEST_F(RemoteIceServerPersistentCacheTest, isUsedWhenNobodyKnowsWhoseItIs) {
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  EXPECT_FALSE(defaults_.string("tevanto.turn-credentials.origin"));
  EXPECT_TRUE(RemoteIceServerPersistentCache(
                  defaults_, [this] { return now_; }, "wss://relay")
                  .load());
}

TEST_F(RemoteIceServerPersistentCacheTest, forgetsAfter45Minutes) {
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  const auto saved = now_;
  EXPECT_TRUE(loaded());
  now_ = saved + seconds(2699);
  EXPECT_TRUE(loaded());
  now_ = saved + milliseconds(2'699'999);
  EXPECT_TRUE(loaded());
  now_ = saved + seconds(2700);
  EXPECT_FALSE(loaded());
  now_ = saved + std::chrono::hours(24 * 365 * 30);
  EXPECT_FALSE(loaded());
}

TEST_F(RemoteIceServerPersistentCacheTest, ignoresWhatComesFromTheFuture) {
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  now_ -= milliseconds(1);
  EXPECT_FALSE(loaded());
  now_ -= seconds(3600);
  EXPECT_FALSE(loaded());
}

TEST_F(RemoteIceServerPersistentCacheTest, isOfNoUseWithoutATurnServer) {
  ASSERT_TRUE(cache_.save({kCachedStun}).ok());
  EXPECT_FALSE(loaded());
  ASSERT_TRUE(cache_.save({}).ok());
  EXPECT_FALSE(loaded());
}

TEST_F(RemoteIceServerPersistentCacheTest, ignoresWhatItCannotRead) {
  for (const char* text : {"", "no JSON", "[]", R"({"servers":[]})",
                           R"({"servers":[{"urls":"turn:a"}],"loadedAt":721692800})"}) {
    ASSERT_TRUE(store(text).ok());
    EXPECT_FALSE(loaded()) << text;
  }
  ASSERT_TRUE(defaults_.set(kTurnCredentialsKey, 3.5).ok());
  EXPECT_FALSE(loaded());
}

TEST_F(RemoteIceServerPersistentCacheTest, replacesATextThatAnEarlierVersionLeft) {
  constexpr auto kText = R"({"servers":[{"urls":["turn:a"]}],"loadedAt":721692800})";
  ASSERT_TRUE(store(kText).ok());
  EXPECT_TRUE(loaded()) << "as data it is usable";
  ASSERT_TRUE(defaults_.set(kTurnCredentialsKey, std::string(kText)).ok());
  EXPECT_FALSE(loaded());
  ASSERT_TRUE(cache_.save({kCachedTurn}).ok());
  EXPECT_EQ(loaded(), std::vector{kCachedTurn});
}

TEST_F(RemoteIceServerPersistentCacheTest, readsARecordUnderTheFieldsOwnName) {
  ASSERT_TRUE(
      store(R"({"loadedAt":721692800,"servers":[{"urlStrings":["turn:a"],"username":"u","credential":"p"}]})")
          .ok());
  EXPECT_EQ(loaded(), std::vector{kCachedTurn});
}

TEST_F(RemoteIceServerPersistentCacheTest, reportsWhatCannotBeStored) {
  defaults_.failWith("disk full");
  const auto saved = cache_.save({kCachedTurn});
  ASSERT_FALSE(saved.ok());
  EXPECT_EQ(saved.error(), "disk full");
}

TEST_F(RemoteIceServerPersistentCacheTest, survivesARestart) {
  const test::TemporaryFolder folder;
  const auto file = folder.path() / "defaults.json";
  {
    JsonUserDefaults defaults(file, {});
    ASSERT_TRUE(RemoteIceServerPersistentCache(defaults, [this] { return now_; }).save({kCachedTurn}).ok());
  }
  now_ += seconds(60);
  JsonUserDefaults defaults(file, {});
  const auto brokered = RemoteIceServerPersistentCache(defaults, [this] { return now_; }).load();
  EXPECT_EQ(brokered, (BrokeredIceServers{{kCachedTurn}, now_ - seconds(60)}));
}

}  // namespace
}  // namespace tevanto
