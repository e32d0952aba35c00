#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "p2p/cloud/CloudKitSignalingClient.h"
#include "tests/support/fakes/FakeCloudDatabase.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto::test {

using std::chrono::milliseconds;
using std::chrono::seconds;

inline SignalMessage offer(const std::string& sdp) {
  return {
      .type = "offer", .sdp = sdp, .candidates = {{{.candidate = "c", .sdpMid = "0", .sdpMLineIndex = 0}}}};
}

/// A client of a cloud in memory, in virtual time; `clock_` follows it.
class CloudSignalingFixture : public testing::Test {
 protected:
  std::shared_ptr<CloudKitSignalingClient> makeClient() {
    auto client = std::make_shared<CloudKitSignalingClient>(
        CloudKitSignalingClient::Environment{.database = database_,
                                             .queue = queue_,
                                             .mainQueue = main_,
                                             .now = clock_,
                                             .session = "own-session",
                                             .usedSessions = usedSessions_,
                                             .log = Logger(log_, "cksignal")});
    client->onOpen = [this] { event("open"); };
    client->onUnavailable = [this] { event("unavailable"); };
    client->onSignal = [this](const SignalMessage& message) { event(message.type + " " + *message.sdp); };
    return client;
  }

  void event(std::string what) {
    EXPECT_TRUE(main_->isCurrent());
    events_.push_back(std::move(what));
  }

  void start(SignalRole role) {
    client_ = makeClient();
    client_->start("room", role);
    queue_->runPending();
  }

  void advance(SerialQueue::Duration time) { queue_->advance(time); }

  /// What the other side has written.
  CloudRecord& place(const std::string& kind, const std::string& session, const std::string& sdp) {
    auto message = offer(sdp);
    message.type = kind;
    auto& record = database_->records["tevanto-room-" + kind];
    record = {"tevanto-room-" + kind, "room", kind, session, encodeSignalMessage(message), clock_(), {}};
    return record;
  }

  std::vector<std::string> log() const {
    std::vector<std::string> lines;
    for (const auto& line : log_->lines()) lines.push_back(line.text);
    return lines;
  }
  std::size_t logged(const std::string& line) const {
    const auto lines = log();
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), "cksignal: " + line));
  }
  std::size_t fetches() const { return database_->fetches.size(); }

  std::shared_ptr<ManualClock> time_ = std::make_shared<ManualClock>();
  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("tevanto.cksignal", time_);
  std::shared_ptr<ManualQueue> main_ = std::make_shared<ManualQueue>("main", time_);
  std::shared_ptr<ManualQueue> cloud_ = std::make_shared<ManualQueue>("cloud", time_);
  WallClock clock_ = [time = time_] {
    return std::chrono::system_clock::time_point(seconds(1'700'000'000)) +
           std::chrono::duration_cast<std::chrono::system_clock::duration>(time->now().time_since_epoch());
  };
  std::shared_ptr<FakeCloudDatabase> database_ = std::make_shared<FakeCloudDatabase>(cloud_, clock_);
  std::shared_ptr<UsedSessionIds> usedSessions_ = std::make_shared<UsedSessionIds>();
  std::shared_ptr<RecordingLogSink> log_ = std::make_shared<RecordingLogSink>();
  std::shared_ptr<CloudKitSignalingClient> client_;
  std::vector<std::string> events_;
};

}  // namespace tevanto::test
