#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "p2p/cloud/CloudKitWebDatabase.h"
#include "tests/support/fakes/FakeHttpClient.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/web/CloudKitTestService.h"

namespace tevanto {
namespace {

using std::chrono::seconds;
using test::CloudKitTestService;

/// With a service that does not answer, in virtual time.
class CloudKitWriteOrder : public testing::Test {
 protected:
  /// A request holds the database, which holds the queue on which the request's time runs.
  ~CloudKitWriteOrder() override { queue_->advance(std::chrono::hours(1)); }

  void save(const std::string& name, const std::string& session, CloudUrgency urgency) {
    database_->save({.name = name, .session = session}, urgency,
                    [this, session](std::optional<CloudError> error) {
                      ASSERT_TRUE(error);
                      EXPECT_EQ(error->code, 4);
                      done_.push_back(session);
                    });
  }
  bool asksFor(std::size_t request, const std::string& session) const {
    return http_->requests.at(request).body.find(R"("session":{"value":")" + session + "\"") !=
           std::string::npos;
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("cloud");
  std::shared_ptr<test::FakeHttpClient> http_ = std::make_shared<test::FakeHttpClient>();
  std::shared_ptr<CloudKitWebDatabase> database_ = std::make_shared<CloudKitWebDatabase>(
      DeploymentSettings::CloudKit{.container = "c",
                                   .environment = "development",
                                   .keyID = "k",
                                   .keyFile = {},
                                   .serviceURL = "https://s//"},
      CloudKitServerKey::parse("k", CloudKitTestService::makePrivateKeyPem("EC", "P-256")).value(),
      CloudKitWebDatabase::Environment{http_, queue_, std::chrono::system_clock::now});
  std::vector<std::string> done_;
};

TEST_F(CloudKitWriteOrder, letsNoWriteOvertakeAnotherOfTheSameRecord) {
  save("a", "first", CloudUrgency::userInitiated);
  save("a", "second", CloudUrgency::userInitiated);
  database_->remove("a", CloudUrgency::utility,
                    [this](const std::optional<CloudError>&) { done_.emplace_back("removed"); });
  save("b", "elsewhere", CloudUrgency::userInitiated);
  queue_->runPending();
  ASSERT_EQ(http_->requests.size(), 2U);
  EXPECT_TRUE(asksFor(0, "first"));
  EXPECT_TRUE(asksFor(1, "elsewhere"));
  queue_->advance(seconds(20));
  ASSERT_EQ(http_->requests.size(), 3U);
  EXPECT_TRUE(asksFor(2, "second"));
  queue_->advance(seconds(20));
  ASSERT_EQ(http_->requests.size(), 4U);
  EXPECT_NE(http_->requests[3].body.find("forceDelete"), std::string::npos);
  queue_->advance(seconds(60));
  EXPECT_EQ(done_, (std::vector<std::string>{"first", "elsewhere", "second", "removed"}));
  save("a", "later", CloudUrgency::userInitiated);
  queue_->runPending();
  EXPECT_EQ(http_->requests.size(), 5U);
}

TEST_F(CloudKitWriteOrder, givesEachRequestTheTimeOfItsUrgency) {
  save("a", "", CloudUrgency::userInitiated);
  save("b", "", CloudUrgency::utility);
  database_->fetch("a", [](const auto&) {});
  database_->accountStatus([](auto) {});
  queue_->runPending();
  ASSERT_EQ(http_->requests.size(), 4U);
  // Reading starts at once, writing with the next turn of the queue.
  EXPECT_EQ(http_->requests[0].url, "https://s/database/1/c/development/public/records/lookup");
  EXPECT_EQ(http_->requests[0].timeout, seconds(20));
  EXPECT_EQ(http_->requests[1].url, "https://s/database/1/c/development/public/users/caller");
  EXPECT_EQ(http_->requests[1].timeout, seconds(20));
  EXPECT_EQ(http_->requests[2].url, "https://s/database/1/c/development/public/records/modify");
  EXPECT_EQ(http_->requests[2].timeout, seconds(20));
  EXPECT_EQ(http_->requests[3].timeout, seconds(60));
}

TEST_F(CloudKitWriteOrder, answersEvenWhenTheDatabaseIsLetGo) {
  save("a", "first", CloudUrgency::userInitiated);
  save("a", "second", CloudUrgency::userInitiated);
  database_.reset();
  queue_->advance(seconds(40));
  EXPECT_EQ(done_, (std::vector<std::string>{"first", "second"}));
}

}  // namespace
}  // namespace tevanto
