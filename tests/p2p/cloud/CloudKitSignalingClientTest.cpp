#include "p2p/cloud/CloudKitSignalingClient.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/p2p/cloud/CloudSignalingFixture.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::FakeCloudDatabase;
using test::offer;
using Events = std::vector<std::string>;

constexpr int kServiceUnavailable = 6;

class CloudKitSignalingClientTest : public test::CloudSignalingFixture {};

TEST_F(CloudKitSignalingClientTest, opensAndPollsAtOnceWhenTheAccountIsAvailable) {
  client_ = makeClient();
  client_->start("room", SignalRole::mac);
  EXPECT_EQ(database_->accountChecks, 0);
  queue_->runPending();
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_EQ(database_->fetches, Events{"tevanto-room-offer"});
  EXPECT_EQ(log(), Events{"cksignal: polling as mac every 3.000000s"});
}

TEST_F(CloudKitSignalingClientTest, looksForTheAnswerAsPhone) {
  start(SignalRole::phone);
  EXPECT_EQ(database_->fetches, Events{"tevanto-room-answer"});
  EXPECT_EQ(log(), Events{"cksignal: polling as phone every 1.000000s"});
}

TEST_F(CloudKitSignalingClientTest, startsOnce) {
  start(SignalRole::mac);
  client_->start("other", SignalRole::phone);
  advance(seconds(3));
  EXPECT_EQ(database_->accountChecks, 1);
  EXPECT_EQ(database_->fetches, (Events{"tevanto-room-offer", "tevanto-room-offer"}));
}

TEST_F(CloudKitSignalingClientTest, staysOffWithoutAnAccount) {
  for (const auto& [status, number] :
       {std::pair(CloudAccountStatus::couldNotDetermine, "0"), std::pair(CloudAccountStatus::restricted, "2"),
        std::pair(CloudAccountStatus::noAccount, "3"),
        std::pair(CloudAccountStatus::temporarilyUnavailable, "4")}) {
    events_.clear();
    database_->status = status;
    start(SignalRole::mac);
    client_->write("answer", offer("sdp"));
    client_->publishTURN({{{"turn:a"}, {}, {}}});
    database_->status = CloudAccountStatus::available;
    advance(seconds(600));
    EXPECT_EQ(events_, Events{"unavailable"}) << number;
    EXPECT_EQ(log().back(),
              "cksignal: iCloud unavailable (status " + std::string(number) + ") — CloudKit signaling off");
    EXPECT_EQ(fetches(), 0U);
    EXPECT_TRUE(database_->saves.empty());
  }
}

TEST_F(CloudKitSignalingClientTest, pollsEachRoleAtItsOwnPace) {
  for (const auto& [role, pace] :
       {std::pair(SignalRole::mac, seconds(3)), std::pair(SignalRole::phone, seconds(1))}) {
    database_->fetches.clear();
    start(role);
    EXPECT_EQ(fetches(), 1U);
    advance(pace - milliseconds(1));
    EXPECT_EQ(fetches(), 1U);
    advance(milliseconds(1));
    EXPECT_EQ(fetches(), 2U);
    advance(10 * pace);
    EXPECT_EQ(fetches(), 12U);
    client_->stop();
    queue_->runPending();
  }
}

// Nobody has written yet: no failure.
TEST_F(CloudKitSignalingClientTest, takesAMissingRecordForNoFailure) {
  database_->fetchFaults.assign(20, FakeCloudDatabase::error(CloudError::kUnknownItem));
  start(SignalRole::mac);
  advance(seconds(57));
  EXPECT_EQ(fetches(), 20U);
  EXPECT_EQ(log().size(), 1U);
}

TEST_F(CloudKitSignalingClientTest, backsOffWhilePollsFail) {
  for (const auto& [role, base] :
       {std::pair(SignalRole::mac, seconds(3)), std::pair(SignalRole::phone, seconds(1))}) {
    database_->fetches.clear();
    database_->fetchFaults.assign(8, FakeCloudDatabase::error(kServiceUnavailable));
    start(role);
    std::size_t count = 1;
    for (const int backoff : {5, 10, 20, 40, 60, 60, 60, 60}) {
      ASSERT_EQ(fetches(), count++);
      advance(base + seconds(backoff) - milliseconds(1));
      EXPECT_EQ(fetches(), count - 1) << "too early after " << backoff;
      advance(milliseconds(1));
      EXPECT_EQ(fetches(), count) << "too late after " << backoff;
    }
    // That one found nothing, which is a success.
    advance(base);
    EXPECT_EQ(fetches(), count + 1);
    client_->stop();
    queue_->runPending();
  }
}

TEST_F(CloudKitSignalingClientTest, logsOnceForAStreakOfFailedPolls) {
  database_->fetchFaults = {FakeCloudDatabase::error(kServiceUnavailable, 2.5),
                            FakeCloudDatabase::error(kServiceUnavailable),
                            FakeCloudDatabase::error(kServiceUnavailable),
                            FakeCloudDatabase::error(CloudError::kUnknownItem), FakeCloudDatabase::error(7)};
  start(SignalRole::mac);
  advance(seconds(8 + 13 + 23));
  EXPECT_EQ(log(), (Events{"cksignal: polling as mac every 3.000000s",
                           "cksignal: poll offer failed: CKErrorDomain 6 retryAfter=2.5"}));
  advance(seconds(3));
  EXPECT_EQ(log().back(), "cksignal: poll offer failed: CKErrorDomain 7");
  EXPECT_EQ(log().size(), 3U);
  const auto before = fetches();
  advance(seconds(8));
  EXPECT_EQ(fetches(), before + 1) << "the back-off began anew";
}

TEST_F(CloudKitSignalingClientTest, namesTheAnswerInAPhonesFailure) {
  database_->fetchFaults = {FakeCloudDatabase::error(4)};
  start(SignalRole::phone);
  EXPECT_EQ(log().back(), "cksignal: poll answer failed: CKErrorDomain 4");
}

TEST_F(CloudKitSignalingClientTest, deliversAnOfferOnTheMainQueue) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  advance(seconds(3));
  EXPECT_EQ(events_, (Events{"open", "offer v=0"}));
  EXPECT_EQ(logged("received offer record"), 1U);
}

TEST_F(CloudKitSignalingClientTest, deliversTheWholeMessage) {
  start(SignalRole::mac);
  std::vector<SignalMessage> received;
  client_->onSignal = [&](const SignalMessage& message) { received.push_back(message); };
  place("offer", "s1", "v=0");
  advance(seconds(3));
  EXPECT_EQ(received, std::vector{offer("v=0")});
}

TEST_F(CloudKitSignalingClientTest, deliversTheSameSnapshotOnce) {
  start(SignalRole::phone);
  place("answer", "own-session", "v=0");
  advance(seconds(60));
  EXPECT_EQ(fetches(), 61U);
  EXPECT_EQ(events_, (Events{"open", "answer v=0"}));
  EXPECT_EQ(logged("received answer record"), 1U);
  place("answer", "own-session", "v=1");
  advance(seconds(2));
  EXPECT_EQ(events_, (Events{"open", "answer v=0", "answer v=1"}));
}

TEST_F(CloudKitSignalingClientTest, ignoresRecordsThatAreNotYoungerThan90Seconds) {
  const auto delivered = [&](milliseconds age) {
    events_.clear();
    place("offer", "s1", "v=0").created = clock_() - age;
    start(SignalRole::mac);
    client_->stop();
    const bool received = logged("received offer record") > 0;
    log_ = std::make_shared<test::RecordingLogSink>();
    return received;
  };
  EXPECT_TRUE(delivered(milliseconds(89'999)));
  EXPECT_FALSE(delivered(seconds(90)));
  EXPECT_FALSE(delivered(seconds(91)));
  EXPECT_FALSE(delivered(std::chrono::hours(1000)));
}

TEST_F(CloudKitSignalingClientTest, doesNotFollowTheSessionOfAnOldRecord) {
  place("offer", "old", "v=0").created = clock_() - seconds(91);
  start(SignalRole::mac);
  place("offer", "new", "v=1");
  advance(seconds(3));
  EXPECT_EQ(events_, (Events{"open", "offer v=1"}));
}

TEST_F(CloudKitSignalingClientTest, goesByTheServersDateWhereTheWritersIsMissing) {
  start(SignalRole::mac);
  auto& record = place("offer", "s1", "v=0");
  record.created.reset();
  advance(seconds(3));
  EXPECT_EQ(events_, Events{"open"}) << "no date at all";
  record.serverCreated = clock_() - seconds(91);
  advance(seconds(3));
  EXPECT_EQ(events_, Events{"open"});
  record.serverCreated = clock_() - seconds(50);
  advance(seconds(3));
  EXPECT_EQ(events_, (Events{"open", "offer v=0"}));
  record = place("offer", "s1", "v=1");
  record.serverCreated = clock_() - seconds(1000);
  advance(seconds(3));
  EXPECT_EQ(events_.back(), "offer v=1") << "the writer's date counts where it is there";
}

TEST_F(CloudKitSignalingClientTest, followsTheSessionOfTheFirstOffer) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  advance(seconds(3));
  place("offer", "s2", "v=1");
  advance(seconds(3));
  EXPECT_EQ(events_, (Events{"open", "offer v=0"}));
  EXPECT_EQ(logged("ignored stale signaling record for another session"), 1U);
  place("offer", "s1", "v=2");
  advance(seconds(3));
  EXPECT_EQ(events_.back(), "offer v=2");
}

TEST_F(CloudKitSignalingClientTest, doesNotFollowASessionThatAnEarlierClientHasConcluded) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  advance(seconds(3));
  client_->conclude();
  place("offer", "s1", "v=1");
  advance(seconds(3));
  EXPECT_EQ(events_.back(), "offer v=1") << "who follows it goes on";
  client_->stop();

  events_.clear();
  start(SignalRole::mac);
  advance(seconds(6));
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_GT(logged("ignored stale signaling record for another session"), 0U);
  place("offer", "s2", "v=2");
  advance(seconds(3));
  EXPECT_EQ(events_.back(), "offer v=2");
}

TEST_F(CloudKitSignalingClientTest, followsASessionAgainThatCameToNothing) {
  start(SignalRole::mac);
  client_->conclude();  // nothing is followed yet
  place("offer", "s1", "v=0");
  advance(seconds(3));
  client_->stop();
  events_.clear();
  start(SignalRole::mac);
  EXPECT_EQ(events_, (Events{"open", "offer v=0"}));
}

TEST(UsedSessionIds, forgetsTheOldestOfTooMany) {
  UsedSessionIds used;
  for (std::size_t i = 0; i <= UsedSessionIds::kMost; ++i) {
    used.add(std::to_string(i));
    used.add(std::to_string(i));
  }
  EXPECT_FALSE(used.contains("0"));
  EXPECT_TRUE(used.contains("1"));
  EXPECT_TRUE(used.contains(std::to_string(UsedSessionIds::kMost)));
}

TEST_F(CloudKitSignalingClientTest, takesOnlyAnswersToItsOwnOffer) {
  start(SignalRole::phone);
  place("answer", "somebody's", "v=0");
  advance(seconds(1));
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_EQ(logged("ignored stale signaling record for another session"), 1U);
  place("answer", "own-session", "v=1");
  advance(seconds(1));
  EXPECT_EQ(events_, (Events{"open", "answer v=1"}));
}

TEST_F(CloudKitSignalingClientTest, dropsAPayloadThatIsNoSignal) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0").payload = "{}";
  advance(seconds(30));
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_EQ(logged("received offer record"), 1U);
  place("offer", "s1", "v=1");
  advance(seconds(3));
  EXPECT_EQ(events_, (Events{"open", "offer v=1"}));
}

TEST_F(CloudKitSignalingClientTest, isSilentOnceStopped) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  const auto before = fetches();
  client_->stop();
  client_->write("answer", offer("v=0"));
  client_->publishTURN({{{"turn:a"}, {}, {}}});
  advance(seconds(600));
  client_->stop();
  queue_->runPending();
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_EQ(fetches(), before);
  EXPECT_TRUE(database_->saves.empty());
}

TEST_F(CloudKitSignalingClientTest, isSilentWhenStoppedWithCallbacksUnderWay) {
  client_ = makeClient();
  client_->start("room", SignalRole::mac);
  place("offer", "s1", "v=0");
  int turns = 0;
  client_->onOpen = [&] {
    ++turns;
    client_->stop();  // while the first poll is under way
  };
  advance(seconds(600));
  EXPECT_EQ(turns, 1);
  EXPECT_TRUE(events_.empty());
  EXPECT_EQ(fetches(), 1U);

  client_ = makeClient();
  client_->start("room", SignalRole::mac);
  client_->stop();
  advance(seconds(600));
  EXPECT_TRUE(events_.empty());
  EXPECT_EQ(fetches(), 1U);
}

TEST_F(CloudKitSignalingClientTest, aDeliveryThatIsOnItsWayDoesNotArriveAfterTheStop) {
  const auto isLooking = std::make_shared<bool>(false);
  // Asked just before a record is accepted, so that the stop comes before the delivery on the main queue.
  clock_ = [this, isLooking, time = clock_] {
    if (std::exchange(*isLooking, false)) main_->async([this] { client_->stop(); });
    return time();
  };
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  *isLooking = true;
  advance(seconds(3));
  EXPECT_EQ(logged("received offer record"), 1U);
  EXPECT_EQ(events_, Events{"open"});
}

TEST_F(CloudKitSignalingClientTest, isGoneWithItsOwner) {
  start(SignalRole::mac);
  client_.reset();
  place("offer", "s1", "v=0");
  advance(seconds(600));
  EXPECT_EQ(events_, Events{"open"});
  EXPECT_EQ(fetches(), 1U);
  EXPECT_EQ(queue_->pendingCount(), 0U);
}

}  // namespace
}  // namespace tevanto
