#include "p2p/cloud/CloudPairingInvites.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fakes/FakeCloudDatabase.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

const CloudPairingInvite kInvite{"device-1", "Anna's Computer"};

TEST(CloudPairingInvite, isAJsonObjectInOrder) {
  EXPECT_EQ(encodePairingInvite(kInvite), R"({"deviceID":"device-1","deviceName":"Anna's Computer"})");
  EXPECT_EQ(encodePairingInvite({"\xFF", "ü\""}), "{\"deviceID\":\"\xEF\xBF\xBD\",\"deviceName\":\"ü\\\"\"}");
  EXPECT_EQ(decodePairingInvite(encodePairingInvite(kInvite)), kInvite);
  EXPECT_EQ(decodePairingInvite(R"({"x":[],"deviceName":"","deviceID":""})"), CloudPairingInvite{});
}

TEST(CloudPairingInvite, isNothingWhenAMemberIsMissing) {
  for (const std::string text :
       {"", "[]", "{}", R"({"deviceID":"a"})", R"({"deviceName":"a"})", R"({"deviceID":1,"deviceName":"a"})",
        R"({"deviceID":"a","deviceName":null})"}) {
    EXPECT_FALSE(decodePairingInvite(text)) << text;
  }
  const auto whole = encodePairingInvite(kInvite);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(decodePairingInvite(whole.substr(0, length))) << length;
  }
}

TEST(PairInviteRecordName, hasTheSixDigitsOfTheCode) {
  EXPECT_EQ(pairInviteRecordName("123456"), "tevanto-pair-123456");
  EXPECT_EQ(pairInviteRecordName(" 012-345 "), "tevanto-pair-012345");
  EXPECT_EQ(pairInviteRecordName("a1b2c3d4e5f6g"), "tevanto-pair-123456");
  for (const char* code : {"", "12345", "1234567", "abcdef", "١٢٣٤٥٦"}) {
    EXPECT_FALSE(pairInviteRecordName(code)) << code;
  }
}

class CloudPairingInvitesTest : public testing::Test {
 protected:
  std::optional<CloudPairingInvites::Found> load(std::string_view code) {
    std::vector<std::optional<CloudPairingInvites::Found>> answers;
    invites_.loadPairInvite(code, [&](auto found) { answers.push_back(std::move(found)); });
    queue_->runPending();
    EXPECT_EQ(answers.size(), 1U);
    return answers.empty() ? std::nullopt : answers.front();
  }

  const system_clock::time_point now_{seconds(1'700'000'000)};
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("cloud");
  std::shared_ptr<test::FakeCloudDatabase> database_ = std::make_shared<test::FakeCloudDatabase>(queue_);
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
  CloudPairingInvites invites_{database_, [this] { return now_; }, Logger(log_, "cksignal")};
};

TEST_F(CloudPairingInvitesTest, areLeftUnderTheCode) {
  invites_.publishPairInvite("123 456", "room", kInvite);
  ASSERT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(
      database_->saves[0].record,
      (CloudRecord{"tevanto-pair-123456", "room", "pairInvite", "", encodePairingInvite(kInvite), now_, {}}));
  EXPECT_EQ(database_->saves[0].urgency, CloudUrgency::utility);
  queue_->runPending();
  EXPECT_TRUE(log_->lines().empty());
}

TEST_F(CloudPairingInvitesTest, areWithdrawn) {
  invites_.publishPairInvite("123456", "room", kInvite);
  invites_.deletePairInvite("1234-56");
  ASSERT_EQ(database_->removals.size(), 1U);
  EXPECT_EQ(database_->removals[0].name, "tevanto-pair-123456");
  EXPECT_EQ(database_->removals[0].urgency, CloudUrgency::utility);
  EXPECT_TRUE(database_->records.empty());
}

TEST_F(CloudPairingInvitesTest, areNotTouchedWithoutSixDigits) {
  for (const char* code : {"", "12345", "1234567"}) {
    invites_.publishPairInvite(code, "room", kInvite);
    invites_.deletePairInvite(code);
    EXPECT_FALSE(load(code));
  }
  EXPECT_TRUE(database_->saves.empty());
  EXPECT_TRUE(database_->removals.empty());
  EXPECT_TRUE(database_->fetches.empty());
}

TEST_F(CloudPairingInvitesTest, areFoundByTheCode) {
  EXPECT_FALSE(load("123456"));
  invites_.publishPairInvite("123456", "room", kInvite);
  const auto found = load("123-456");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->room, "room");
  EXPECT_EQ(found->invite, kInvite);
  database_->records["tevanto-pair-123456"].payload = "{}";
  EXPECT_FALSE(load("123456"));
}

TEST_F(CloudPairingInvitesTest, sayWhenTheCloudRefuses) {
  database_->writeFaults = {test::FakeCloudDatabase::error(9), test::FakeCloudDatabase::error(7, 5)};
  invites_.publishPairInvite("123456", "room", kInvite);
  invites_.deletePairInvite("123456");
  queue_->runPending();
  ASSERT_EQ(log_->lines().size(), 2U);
  EXPECT_EQ(log_->lines()[0].text, "cksignal: publish pairing invite failed: CKErrorDomain 9");
  EXPECT_EQ(log_->lines()[1].text, "cksignal: delete pairing invite failed: CKErrorDomain 7 retryAfter=5");
}

TEST_F(CloudPairingInvitesTest, sayTheSameFailureOnceUntilSomethingElseHappens) {
  const auto publish = [this](std::optional<CloudError> fault) {
    if (fault) database_->writeFaults = {*fault};
    invites_.publishPairInvite("123456", "room", kInvite);
    queue_->runPending();
    return log_->lines().size();
  };
  const auto refused = test::FakeCloudDatabase::error(9);
  EXPECT_EQ(publish(refused), 1U);
  EXPECT_EQ(publish(refused), 1U) << "the invite is only renewed";
  EXPECT_EQ(publish(test::FakeCloudDatabase::error(4)), 2U) << "another failure";
  EXPECT_EQ(publish(refused), 3U);
  EXPECT_EQ(publish(std::nullopt), 3U);
  EXPECT_EQ(publish(refused), 4U) << "after an invite that was taken";
  database_->writeFaults = {refused};
  invites_.deletePairInvite("123456");
  queue_->runPending();
  EXPECT_EQ(log_->lines().size(), 5U) << "that an invite stays is news of its own";
}

}  // namespace
}  // namespace tevanto
