#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/p2p/cloud/CloudSignalingFixture.h"

namespace tevanto {
namespace {

using std::chrono::seconds;
using test::FakeCloudDatabase;
using test::offer;
using Events = std::vector<std::string>;

const RemoteIceServerConfig kStun{{"stun:a"}, {}, {}};
const RemoteIceServerConfig kTurn{{"turn:a"}, "u", "p"};

class CloudKitSignalingWrites : public test::CloudSignalingFixture {};

TEST_F(CloudKitSignalingWrites, writesTheWholeSnapshot) {
  start(SignalRole::phone);
  client_->write("offer", offer("v=0"));
  queue_->runPending();
  ASSERT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(database_->saves[0].record, (CloudRecord{"tevanto-room-offer",
                                                     "room",
                                                     "offer",
                                                     "own-session",
                                                     encodeSignalMessage(offer("v=0")),
                                                     clock_(),
                                                     {}}));
  EXPECT_EQ(database_->saves[0].urgency, CloudUrgency::userInitiated);
  EXPECT_EQ(logged("wrote offer record"), 1U);
}

TEST_F(CloudKitSignalingWrites, answersInTheSessionOfTheOffer) {
  start(SignalRole::mac);
  place("offer", "s1", "v=0");
  advance(seconds(3));
  client_->write("answer", {.type = "answer", .sdp = "v=0"});
  queue_->runPending();
  ASSERT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(database_->saves[0].record.name, "tevanto-room-answer");
  EXPECT_EQ(database_->saves[0].record.session, "s1");
  EXPECT_EQ(logged("wrote answer record"), 1U);
}

TEST_F(CloudKitSignalingWrites, writesWhileTheAccountIsStillBeingChecked) {
  client_ = makeClient();
  client_->start("room", SignalRole::phone);
  client_->write("offer", offer("v=0"));
  queue_->runPending();
  EXPECT_EQ(database_->saves.size(), 1U);
}

TEST_F(CloudKitSignalingWrites, logsAWriteThatFailedAndDoesNotRepeatIt) {
  start(SignalRole::phone);
  database_->writeFaults = {{"CKErrorDomain", 2, {}, {{"tevanto-room-offer", FakeCloudDatabase::error(14)}}}};
  client_->write("offer", offer("v=0"));
  advance(seconds(120));
  EXPECT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(logged("write offer failed: CKErrorDomain 2 partial=[tevanto-room-offer: CKErrorDomain 14]"), 1U);
  EXPECT_EQ(logged("wrote offer record"), 0U);
}

TEST_F(CloudKitSignalingWrites, saysWhichOfTheTwoCouldNotBeWritten) {
  start(SignalRole::mac);
  database_->writeFaults = {FakeCloudDatabase::error(6)};
  client_->write("answer", {.type = "answer", .sdp = "v=0"});
  queue_->runPending();
  EXPECT_EQ(logged("write answer failed: CKErrorDomain 6"), 1U);
  EXPECT_EQ(logged("wrote answer record"), 0U);
}

TEST_F(CloudKitSignalingWrites, twoClientsNegotiateThroughTheRecords) {
  start(SignalRole::mac);
  const auto phone = makeClient();
  phone->start("room", SignalRole::phone);
  queue_->runPending();
  phone->write("offer", offer("from the phone"));
  advance(seconds(3));
  client_->write("answer", {.type = "answer", .sdp = "from the computer"});
  advance(seconds(1));
  EXPECT_EQ(events_, (Events{"open", "open", "offer from the phone", "answer from the computer"}));
}

TEST_F(CloudKitSignalingWrites, lendsOnlyTurnServers) {
  start(SignalRole::mac);
  const RemoteIceServerConfig loud{{"stun:x", "TURNS:b"}, {}, {}};
  client_->publishTURN({kStun, kTurn, loud});
  queue_->runPending();
  ASSERT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(
      database_->saves[0].record,
      (CloudRecord{"tevanto-room-turn", "room", "turn", "", encodeIceServers({kTurn, loud}), clock_(), {}}));
  EXPECT_EQ(database_->saves[0].urgency, CloudUrgency::userInitiated);
  EXPECT_EQ(logged("published TURN configuration"), 1U);
}

TEST_F(CloudKitSignalingWrites, lendsAnEmptyListWhenThereIsOnlyStun) {
  start(SignalRole::mac);
  client_->publishTURN({kStun, {{"turnip:a"}, {}, {}}});
  queue_->runPending();
  ASSERT_EQ(database_->saves.size(), 1U);
  EXPECT_EQ(database_->saves[0].record.payload, "[]");
}

TEST_F(CloudKitSignalingWrites, logsALoanThatFailed) {
  start(SignalRole::mac);
  database_->writeFaults = {FakeCloudDatabase::error(7, 30)};
  client_->publishTURN({kTurn});
  queue_->runPending();
  EXPECT_EQ(logged("publish TURN failed: CKErrorDomain 7 retryAfter=30"), 1U);
  EXPECT_EQ(logged("published TURN configuration"), 0U);
}

class LoadTURN : public CloudKitSignalingWrites {
 protected:
  std::optional<BrokeredIceServers> load() {
    std::vector<std::optional<BrokeredIceServers>> answers;
    client_->loadTURN([&](auto found) {
      EXPECT_TRUE(main_->isCurrent());
      answers.push_back(std::move(found));
    });
    queue_->runPending();
    EXPECT_EQ(answers.size(), 1U);
    return answers.empty() ? std::nullopt : answers.front();
  }

  CloudRecord& placeTURN(const std::string& payload) {
    auto& record = database_->records["tevanto-room-turn"];
    record = {"tevanto-room-turn", "room", "turn", "", payload, clock_(), {}};
    return record;
  }
};

TEST_F(LoadTURN, givesTheServersWithTheDateOfTheirWriting) {
  start(SignalRole::phone);
  auto& record = placeTURN(encodeIceServers({kTurn}));
  const auto written = clock_();
  advance(seconds(1000));
  EXPECT_EQ(load(), (BrokeredIceServers{{kTurn}, written}));
  EXPECT_EQ(logged("loaded brokered TURN configuration"), 1U);
  record.created.reset();
  record.serverCreated = written + seconds(5);
  EXPECT_EQ(load(), (BrokeredIceServers{{kTurn}, written + seconds(5)}));
  EXPECT_EQ(database_->fetches.back(), "tevanto-room-turn");
}

TEST_F(LoadTURN, givesNothingWhenNothingWasLent) {
  start(SignalRole::phone);
  EXPECT_FALSE(load());
  placeTURN("[]");
  EXPECT_FALSE(load());
  placeTURN("nonsense");
  EXPECT_FALSE(load());
  placeTURN(encodeIceServers({kTurn})).created.reset();
  EXPECT_FALSE(load()) << "without a date";
  placeTURN(encodeIceServers({kTurn}));
  database_->fetchFaults = {FakeCloudDatabase::error(4)};
  EXPECT_FALSE(load());
  EXPECT_EQ(logged("loaded brokered TURN configuration"), 0U);
}

TEST_F(LoadTURN, answersBeforeTheStartAndAfterTheStopToo) {
  placeTURN(encodeIceServers({kTurn}));
  client_ = makeClient();
  EXPECT_FALSE(load());
  client_->start("room", SignalRole::phone);
  EXPECT_TRUE(load());
  client_->stop();
  EXPECT_FALSE(load());
}

}  // namespace
}  // namespace tevanto
