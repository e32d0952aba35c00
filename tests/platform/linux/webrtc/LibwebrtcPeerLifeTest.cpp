#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/webrtc/LinuxPeers.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/peers/PeerSide.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/ProcessMemory.h"
#include "tests/support/programs/TemporaryFolder.h"

// How peers and channels of the real engine begin and end.

namespace tevanto {
namespace {

using test::connectedPair;
using test::eventually;
using test::PeerPair;
using test::PeerSide;

PeerEngineOptions onLoopback() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  return options;
}

std::span<const std::byte> bytes(const std::string& text) { return std::as_bytes(std::span(text)); }

std::ptrdiff_t threads() {
  const std::filesystem::directory_iterator all("/proc/self/task");
  return std::distance(begin(all), end(all));
}

class LibwebrtcPeerLife : public testing::Test {
 protected:
  LoadedPeers factory_{onLoopback()};
};

TEST_F(LibwebrtcPeerLife, startsThreeThreadsWithTheFirstPeerAndNoneWithTheNext) {
  const auto before = threads();
  ASSERT_TRUE(factory_.load());
  EXPECT_EQ(threads(), before);
  const auto first = PeerSide::make(factory_);
  // A fourth prepares something and goes.
  EXPECT_TRUE(eventually([&] { return threads() == before + 3; }));
  const auto second = PeerSide::make(factory_);
  EXPECT_EQ(threads(), before + 3);
}

TEST_F(LibwebrtcPeerLife, makesNoCallAfterCloseHasReturned) {
  for (int round = 0; round < 20; ++round) {
    const auto pair = connectedPair(factory_);
    ASSERT_TRUE(pair);
    std::atomic<bool> closed = false;
    std::atomic<int> late = 0;
    for (int question = 0; question < 50; ++question)
      pair.answerer->peer().statistics([&](const auto&) { late += closed ? 1 : 0; });
    pair.answerer->peer().createOffer([&](const auto&) { late += closed ? 1 : 0; });
    pair.answerer->peer().close();
    closed = true;
    const auto states = pair.answerer->iceStates();
    ASSERT_TRUE(
        eventually([&] { return pair.answerer->channel("tevanto")->state() == DataChannelState::closed; }));
    EXPECT_EQ(late, 0);
    EXPECT_EQ(pair.answerer->iceStates(), states);
    pair.offerer->peer().close();
    // The completions that never came are gone before what they refer to.
    ASSERT_TRUE(
        eventually([&] { return pair.offerer->channel("tevanto")->state() == DataChannelState::closed; }));
  }
}

TEST_F(LibwebrtcPeerLife, handsNothingToAnObserverThatWasTakenAway) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  std::atomic<bool> stop = false;
  std::thread flood([&] {
    while (!stop) {
      if (pair.offerer->channel("tevanto")->bufferedAmount() < 65'536)
        pair.offerer->channel("tevanto")->send(bytes("message"));
    }
  });
  const auto channel = pair.answerer->channel("tevanto");
  int late = 0;
  for (int round = 0; round < 50; ++round) {
    const auto before = pair.answerer->receivedCount("tevanto");
    channel->setObserver(pair.answerer);
    if (!eventually([&] { return pair.answerer->receivedCount("tevanto") > before; })) break;
    channel->setObserver({});
    const auto after = pair.answerer->receivedCount("tevanto");
    std::this_thread::yield();
    if (pair.answerer->receivedCount("tevanto") != after) ++late;
  }
  stop = true;
  flood.join();
  EXPECT_EQ(late, 0);
}

TEST_F(LibwebrtcPeerLife, mayBeClosedAndLetGoInsideACall) {
  auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  std::atomic<int> calls = 0;
  // The call holds the last reference to the side, to its peer and to its channels.
  std::weak_ptr<PeerSide> gone = pair.answerer;
  auto holder = std::make_shared<std::shared_ptr<PeerSide>>(pair.answerer);
  auto* side = pair.answerer.get();
  side->peer().statistics([holder, &calls](const auto&) {
    ++calls;
    (*holder)->channel("tevanto")->setObserver({});
    (*holder)->channel("tevanto")->close();
    (*holder)->peer().close();
    holder->reset();
  });
  holder.reset();
  pair.answerer.reset();
  EXPECT_TRUE(eventually([&] { return gone.expired(); }));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(
      eventually([&] { return pair.offerer->channel("tevanto")->state() == DataChannelState::closed; }));
}

TEST_F(LibwebrtcPeerLife, answersOnlyTheCallsBeforeTheClose) {
  const auto side = PeerSide::make(factory_);
  side->peer().close();
  side->peer().close();
  side->peer().createOffer([](const auto&) { ADD_FAILURE() << "a completion after the close"; });
  side->peer().setRemoteDescription({SdpType::offer, "nonsense"},
                                    [](const auto&) { ADD_FAILURE() << "a completion after the close"; });
  side->peer().addCandidate({"candidate:1 1 udp 2122260223 127.0.0.1 9 typ host", "0", 0});
  EXPECT_EQ(side->peer().createDataChannel("tevanto", {}), nullptr);
}

TEST_F(LibwebrtcPeerLife, outlivesItsFactory) {
  const auto before = threads();
  std::optional<LoadedPeers> factory(std::in_place, onLoopback());
  auto pair = connectedPair(*factory);
  ASSERT_TRUE(pair);
  factory.reset();
  auto channel = pair.offerer->channel("tevanto");
  ASSERT_TRUE(channel->send(bytes("still here")));
  EXPECT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
  pair = {};
  channel.reset();
  EXPECT_TRUE(eventually([&] { return threads() == before; }));
}

TEST_F(LibwebrtcPeerLife, endsItsThreadsWhenTheLastReferenceGoesOnOneOfThem) {
  const auto before = threads();
  std::optional<LoadedPeers> factory(std::in_place, onLoopback());
  auto side = PeerSide::make(*factory);
  auto holder = std::make_shared<std::shared_ptr<PeerSide>>(std::move(side));
  std::atomic<bool> entered = false;
  std::atomic<bool> released = false;
  (*holder)->peer().statistics([holder, &entered, &released](const auto&) {
    entered = true;
    while (!released) std::this_thread::yield();
    holder->reset();
  });
  holder.reset();
  ASSERT_TRUE(eventually([&] { return entered.load(); }));
  factory.reset();
  released = true;
  EXPECT_TRUE(eventually([&] { return threads() == before; }));
}

TEST_F(LibwebrtcPeerLife, closesAHundredPeersAtOnce) {
  std::vector<PeerPair> pairs;
  for (int number = 0; number < 50; ++number) {
    pairs.push_back(connectedPair(factory_));
    ASSERT_TRUE(pairs.back()) << number;
  }
  std::latch together(100);
  std::vector<std::thread> closers;
  for (const auto& pair : pairs) {
    for (const auto& side : {pair.offerer, pair.answerer})
      closers.emplace_back([side, &together] {
        together.arrive_and_wait();
        side->channel("tevanto")->send(bytes("last words"));
        side->channel("tevanto")->setObserver({});
        side->channel("tevanto")->close();
        side->peer().close();
      });
  }
  for (auto& closer : closers) closer.join();
  for (const auto& pair : pairs)
    EXPECT_TRUE(
        eventually([&] { return pair.offerer->channel("tevanto")->state() == DataChannelState::closed; }));
}

/// Memory that the allocator keeps for later counts as given back. The engine's delayed tasks keep a few
/// kilobytes for each peer that was, for minutes: they are what the test's bound leaves room for.
std::size_t residentAfterTrim() {
  ::malloc_trim(0);
  return test::residentBytes();
}

TEST_F(LibwebrtcPeerLife, leavesNothingBehindInTwoHundredCycles) {
  const auto cycle = [&] {
    const auto pair = connectedPair(factory_);
    ASSERT_TRUE(pair);
    ASSERT_TRUE(pair.offerer->channel("tevanto")->send(bytes("{}")));
    ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
    pair.close();
  };
  for (int warmUp = 0; warmUp < 20; ++warmUp) ASSERT_NO_FATAL_FAILURE(cycle());
  // The sockets close on the engine's thread, after the last reference.
  const auto keeper = PeerSide::make(factory_);
  (void)keeper->statistics();
  const auto descriptors = test::openDescriptors();
  const auto tasks = threads();
  const auto resident = residentAfterTrim();
  for (int number = 0; number < 200; ++number) ASSERT_NO_FATAL_FAILURE(cycle());
  EXPECT_TRUE(eventually([&] { return test::openDescriptors() == descriptors; })) << test::openDescriptors();
  EXPECT_LE(threads(), tasks);
  // 10 KiB a cycle would be 2 MiB.
  EXPECT_LT(residentAfterTrim(), resident + test::kResidentFactor * (2 * 1024 * 1024) + test::kResidentSlack +
                                     test::kQuarantineBytes);
}

TEST_F(LibwebrtcPeerLife, isQuietUnlessAskedToSpeak) {
  const auto log = std::make_shared<test::RecordingLogSink>();
  const auto quiet = linuxPeers(log, true);
  ::setenv("TEVANTO_ENGINE_LOG", "1", 1);
  const auto verbose = linuxPeers(log, true);
  ::unsetenv("TEVANTO_ENGINE_LOG");
  testing::internal::CaptureStderr();
  ASSERT_TRUE(connectedPair(*quiet));
  EXPECT_TRUE(log->lines().empty());
  ASSERT_TRUE(connectedPair(*verbose));
  EXPECT_FALSE(log->lines().empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LoadedPeers, sayThatTheirModuleIsMissing) {
  // The module lies beside the folder of the program.
  const test::TemporaryFolder folder;
  std::filesystem::create_directory(folder / "bin");
  std::filesystem::copy_file(LOAD_PEERS, folder / "bin" / "load_peers");
  const auto result = test::runProgram({(folder / "bin" / "load_peers").string()});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.output.find("A part of this program cannot be loaded: peers"), std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("no peer"), std::string::npos) << result.output;
}

}  // namespace
}  // namespace tevanto
