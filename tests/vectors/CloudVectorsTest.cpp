#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "p2p/cloud/CloudKitAnswers.h"
#include "p2p/cloud/CloudKitSignalingClient.h"
#include "p2p/cloud/CloudPairingInvites.h"
#include "remote/invites/CloudPairingInvite.h"
#include "tests/support/fakes/FakeCloudDatabase.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/vectors/SignalValues.h"
#include "tests/vectors/Vectors.h"

namespace tevanto {

/// So that a failing comparison shows the record.
inline void PrintTo(const CloudRecord& record, std::ostream* out) { *out << cloudSaveBody(record); }

}  // namespace tevanto

namespace tevanto::test {
namespace {

namespace json = boost::json;
using TimePoint = std::chrono::system_clock::time_point;

TimePoint timeOf(const json::value& milliseconds) {
  return TimePoint(std::chrono::milliseconds(milliseconds.as_int64()));
}

CloudRecord recordOf(const json::value& value) {
  const auto& object = value.as_object();
  CloudRecord record{.name = textOf(object.at("recordName"))};
  record.room = textOf(object.at("room"));
  record.kind = textOf(object.at("kind"));
  record.session = textOf(object.at("session"));
  record.payload = textOf(object.at("payload"));
  if (object.contains("created")) record.created = timeOf(object.at("created"));
  if (object.contains("serverCreated")) record.serverCreated = timeOf(object.at("serverCreated"));
  return record;
}

CloudPairingInvite inviteOf(const json::value& value) {
  return {textOf(value.at("deviceID")), textOf(value.at("deviceName"))};
}

/// A cloud in memory at the time of a vector, and clients of it.
class Cloud {
 public:
  explicit Cloud(const Vector& vector)
      : now_(timeOf(vector.value().at("now"))), room_(textOf(vector.value().at("room"))) {}

  std::shared_ptr<CloudKitSignalingClient> start(SignalRole role, const std::string& session = {}) {
    auto client = std::make_shared<CloudKitSignalingClient>(
        CloudKitSignalingClient::Environment{.database = database,
                                             .queue = queue_,
                                             .mainQueue = queue_,
                                             .now = [now = now_] { return now; },
                                             .session = session});
    client->onSignal = [this](const SignalMessage& signal) { signals.push_back(signal); };
    client->start(room_, role);
    queue_->runPending();
    return client;
  }
  CloudPairingInvites invites() {
    return {database, [now = now_] { return now; }};
  }
  void run() { queue_->runPending(); }
  const std::string& room() const { return room_; }
  /// The one record that was written, without the server's date.
  std::optional<CloudRecord> saved() const {
    return database->saves.size() == 1 ? std::optional(database->saves.front().record) : std::nullopt;
  }

 private:
  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("cloud");
  const TimePoint now_;
  const std::string room_;

 public:
  std::shared_ptr<FakeCloudDatabase> database = std::make_shared<FakeCloudDatabase>(queue_);
  std::vector<SignalMessage> signals;
};

// ---- Records

TEST(CloudVectors, holdSignalsThatAreWritten) {
  for (const auto& vector : vectorsOf("cloud.json", "signalRecord")) {
    SCOPED_TRACE(vector.name());
    Cloud cloud(vector);
    const auto record = recordOf(vector.at("record"));
    const auto signal = signalOf(vector.value().at("signal"));
    const bool isPhone = textOf(vector.value().at("role")) == "phone";
    if (!isPhone) {  // it follows the session of the offer that it answers
      const auto name = "tevanto-" + cloud.room() + "-offer";
      cloud.database->records[name] = {.name = name,
                                       .room = record.room,
                                       .kind = "offer",
                                       .session = record.session,
                                       .payload = "{\"type\":\"offer\"}",
                                       .created = record.created};
    }
    const auto client = cloud.start(isPhone ? SignalRole::phone : SignalRole::mac, record.session);
    client->write(record.kind, signal);
    cloud.run();
    EXPECT_EQ(cloud.saved(), record);
  }
}

TEST(CloudVectors, holdSignalsThatAreRead) {
  for (const auto& vector : vectorsOf("cloud.json", "signalRecord")) {
    SCOPED_TRACE(vector.name());
    Cloud cloud(vector);
    const auto record = recordOf(vector.at("record"));
    cloud.database->records[record.name] = record;
    const bool isPhones = textOf(vector.value().at("role")) == "phone";
    const auto client = cloud.start(isPhones ? SignalRole::mac : SignalRole::phone, record.session);
    EXPECT_EQ(cloud.signals, std::vector{signalOf(vector.value().at("signal"))});
  }
}

TEST(CloudVectors, holdTurnServers) {
  for (const auto& vector : vectorsOf("cloud.json", "turnRecord")) {
    SCOPED_TRACE(vector.name());
    Cloud cloud(vector);
    const auto companion = cloud.start(SignalRole::mac);
    companion->publishTURN(iceServersOf(vector.value().at("servers")));
    cloud.run();
    EXPECT_EQ(cloud.saved(), recordOf(vector.at("record")));
    std::optional<BrokeredIceServers> found;
    const auto phone = cloud.start(SignalRole::phone, "s");
    phone->loadTURN([&](std::optional<BrokeredIceServers> servers) { found = std::move(servers); });
    cloud.run();
    const auto lent = iceServersOf(vector.value().at("lent"));
    ASSERT_EQ(found.has_value(), !lent.empty());
    if (found) {
      EXPECT_EQ(found->servers, lent);
    }
    if (found) {
      EXPECT_EQ(found->loadedAt, timeOf(vector.value().at("now")));
    }
  }
}

TEST(CloudVectors, holdInvites) {
  for (const auto& vector : vectorsOf("cloud.json", "inviteRecord")) {
    SCOPED_TRACE(vector.name());
    Cloud cloud(vector);
    const auto code = textOf(vector.value().at("code"));
    const auto invite = inviteOf(vector.value().at("invite"));
    auto invites = cloud.invites();
    invites.publishPairInvite(code, cloud.room(), invite);
    cloud.run();
    std::optional<CloudPairingInvites::Found> found;
    invites.loadPairInvite(code, [&](auto answer) { found = std::move(answer); });
    cloud.run();
    if (vector.result() == "not sent") {
      EXPECT_TRUE(cloud.database->saves.empty());
      EXPECT_FALSE(found);
      continue;
    }
    EXPECT_EQ(cloud.saved(), recordOf(vector.at("record")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->room, cloud.room());
    EXPECT_EQ(found->invite, invite);
  }
}

TEST(CloudVectors, holdPayloadsOfInvites) {
  for (const auto& vector : vectorsOf("cloud.json", "invite")) {
    SCOPED_TRACE(vector.name());
    const auto invite = decodePairingInvite(vector.bytes());
    ASSERT_EQ(invite.has_value(), vector.result() != "ignored");
    if (!invite) continue;
    EXPECT_EQ(*invite, inviteOf(vector.value()));
    if (!vector.isReadOnly()) {
      EXPECT_EQ(encodePairingInvite(inviteOf(vector.value())), vector.bytes());
    }
  }
}

// ---- Requests and answers

TEST(CloudVectors, holdRequests) {
  for (const auto& vector : vectorsOf("cloud.json", "save"))
    EXPECT_EQ(cloudSaveBody(recordOf(vector.value())), vector.bytes()) << vector.name();
  for (const auto& vector : vectorsOf("cloud.json", "lookup"))
    EXPECT_EQ(cloudLookupBody(textOf(vector.value().at("recordName"))), vector.bytes()) << vector.name();
  for (const auto& vector : vectorsOf("cloud.json", "delete"))
    EXPECT_EQ(cloudRemoveBody(textOf(vector.value().at("recordName"))), vector.bytes()) << vector.name();
}

TEST(CloudVectors, holdAnswers) {
  for (const auto& vector : vectorsOf("cloud.json", "lookupAnswer")) {
    SCOPED_TRACE(vector.name());
    const HttpResponse answer{vector.at("status").to_number<int>(), {}, vector.bytes()};
    const auto outcome = readLookupAnswer(answer, vector.text("recordName"));
    ASSERT_EQ(outcome.value.has_value(), vector.result() != "no record");
    if (outcome.value) {
      EXPECT_EQ(*outcome.value, recordOf(vector.value()));
    } else {
      EXPECT_EQ(outcome.error.code, vector.at("error").as_int64());
    }
  }
}

}  // namespace
}  // namespace tevanto::test
