#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/BareChannels.h"
#include "core/queue/EventLoop.h"
#include "p2p/transport/WebRTCTransport.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "remote/message/RemoteMessageCodec.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/fakes/FakeCloudSignaling.h"

// Two whole transports on the loopback interface, in turns with a bare pair of the engine's channels: what
// the transport adds. Each transport has a loop of its own, as in the programs. Prints one JSON object.

namespace {

using namespace tevanto;
using namespace tevanto::bench;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5;
constexpr int kTurns = 60;
constexpr auto kDuration = std::chrono::seconds(2);
constexpr std::size_t kTrips = 200;  // in each
constexpr std::size_t kFrame = 100'000;
constexpr auto kTimeout = std::chrono::seconds(30);

/// One member of a room for two that is nothing but memory.
class MemoryRelay final : public RelaySignaling {
 public:
  explicit MemoryRelay(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}
  static void join(const std::shared_ptr<MemoryRelay>& one, const std::shared_ptr<MemoryRelay>& other) {
    one->other_ = other;
    other->other_ = one;
  }
  void connect(const std::string& /*room*/, SignalRole /*role*/) override {
    isIn_ = true;
    queue_->async([this] { onOpen(); });
  }
  void send(const SignalMessage& message) override {
    const auto other = other_.lock();
    if (!other || !other->isIn_) return;
    other->queue_->async([weak = std::weak_ptr(other), message] {
      const auto member = weak.lock();
      if (member && member->isIn_) member->onMessage(message);
    });
  }
  void close() override { isIn_ = false; }

 private:
  const std::shared_ptr<SerialQueue> queue_;
  std::weak_ptr<MemoryRelay> other_;
  std::atomic<bool> isIn_ = false;
};

/// One end, and what has come to it. It has a loop and an engine of its own, which signals on that loop, as
/// the programs do.
class End {
 public:
  explicit End(TransportRole role) : role_(role) {
    transport_ = WebRTCTransport::create({.stateQueue = loop_->makeQueue("transport"),
                                          .mainQueue = mainQueue_,
                                          .peers = peers_,
                                          .relay = relay_,
                                          .cloud = std::make_shared<test::FakeCloudSignaling>(),
                                          .rememberIceServers = [](const auto&) {}},
                                         role, "bench", WebRTCTransport::Profile::phone);
    transport_->onChannelState = [this](ChannelState state) {
      if (state == ChannelState::ready) count(&isReady_);
    };
    transport_->onScreenChannelState = [this](bool isOpen) {
      if (isOpen) count(&hasScreen_);
    };
    transport_->onMessage = [this](const RemoteMessage& message) {
      if (role_ == TransportRole::answerer) return transport_->send(message);
      tripTimes_.push_back(milliseconds(Clock::now() - sent_) * 1000);
      if (tripTimes_.size() == wantedTrips_) return count(&finished_);
      sendNext(message);
    };
    transport_->onScreenData = [this](std::span<const std::byte> message) { screenBytes_ += message.size(); };
  }
  ~End() {
    transport_->stop();
    transport_ = nullptr;
    // What the transport leaves behind ends in turns of the loop.
    for (int turn = 0; turn < 3; ++turn) mainQueue_->sync([] {});
    peers_->release();
    loop_->stop();
  }
  End(const End&) = delete;
  End& operator=(const End&) = delete;

  static void connect(End& offerer, End& answerer) {
    MemoryRelay::join(offerer.relay_, answerer.relay_);
    answerer.start();
    offerer.start();
    for (auto* end : {&offerer, &answerer}) {
      end->await(&end->isReady_, 1);
      end->await(&end->hasScreen_, 1);
    }
  }
  WebRTCTransport& transport() { return *transport_; }
  /// Sends the message back and forth, each time when it has come back to the main queue, as a program would.
  /// Microseconds.
  std::vector<double> roundTrips(const RemoteMessage& message, std::size_t count) {
    mainQueue_->async([this, message, count] {
      wantedTrips_ = count;
      sendNext(message);
    });
    await(&finished_, ++turns_);
    return std::exchange(tripTimes_, {});
  }
  std::uint64_t screenBytes() const { return screenBytes_; }

 private:
  void start() {
    mainQueue_->async([this] { transport_->start({}); });
  }
  void sendNext(const RemoteMessage& message) {
    sent_ = Clock::now();
    transport_->send(message);
  }
  void count(std::uint64_t* what) {
    const std::lock_guard lock(mutex_);
    ++*what;
    changed_.notify_all();
  }
  void await(const std::uint64_t* what, std::uint64_t wanted) {
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, kTimeout, [&] { return *what >= wanted; })) return;
    std::fputs("the transports do not connect, or have lost a message\n", stderr);
    std::_Exit(1);
  }

  const TransportRole role_;
  const std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> mainQueue_ = loop_->makeQueue("main");
  const std::shared_ptr<MemoryRelay> relay_ = std::make_shared<MemoryRelay>(loop_->makeQueue("relay"));
  const std::shared_ptr<LoadedPeers> peers_ =
      std::make_shared<LoadedPeers>(PeerEngineOptions{.includeLoopback = true,
                                                      .verbose = false,
                                                      .log = {},
                                                      .signalingQueue = loop_->makeQueue("peer-signaling")});
  std::shared_ptr<WebRTCTransport> transport_;
  std::mutex mutex_;  // guards what is counted
  std::condition_variable changed_;
  std::uint64_t isReady_ = 0, hasScreen_ = 0, finished_ = 0;
  Clock::time_point sent_;  // the main queue's, like the times
  std::vector<double> tripTimes_;
  std::size_t wantedTrips_ = 0;
  std::uint64_t turns_ = 0;
  std::atomic<std::uint64_t> screenBytes_ = 0;
};

/// Frames of the screen, as fast as the drop rule admits them.
Throughput transportThroughput() {
  End phone(TransportRole::offerer), computer(TransportRole::answerer);
  End::connect(phone, computer);
  const auto frame = videoFrameMessage(std::vector<std::byte>(kFrame), false);
  const auto start = Clock::now();
  const auto processor = processorSeconds();
  while (Clock::now() - start < kDuration) {
    if (!computer.transport().sendScreenFrame(frame, false))
      std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  const auto bytes = phone.screenBytes();
  const auto seconds = milliseconds(Clock::now() - start) / 1000;
  return {static_cast<double>(bytes) / seconds, (processorSeconds() - processor) / seconds};
}

/// Microseconds, the median of each.
struct Trips {
  std::vector<double> bare, program, transport;
};

/// A message of 118 bytes there and back: on a bare channel whose other end is an engine's thread, on one
/// whose other end is a program, and on the control channel of two transports. Turns are short, so that a
/// noisy moment of the machine hits all three.
Trips roundTrips() {
  const auto command = decodeRemoteMessage(
      R"({"type":"command","token":"0A4E7C52-3A51-4D8C-9C1F-5B7C0E6C6F11","command":{"type":"insertText","text":"eleven more"}})");
  BareChannels bare(Echo::fromEngine), program(Echo::fromProgram);
  End phone(TransportRole::offerer), computer(TransportRole::answerer);
  End::connect(phone, computer);
  Trips trips;
  for (int turn = 0; turn < kTurns; ++turn) {
    trips.bare.push_back(percentile(bare.trips(kTrips).microseconds, 0.5));
    trips.transport.push_back(percentile(phone.roundTrips(*command, kTrips), 0.5));
    trips.program.push_back(percentile(program.trips(kTrips).microseconds, 0.5));
  }
  return trips;
}

}  // namespace

int main() {
  std::vector<double> bareRate, rate, bareLoad, load;
  for (int round = 0; round < kRounds; ++round) {
    const auto bare = BareChannels().throughput(kDuration);
    const auto ours = transportThroughput();
    bareRate.push_back(bare.bytesPerSecond / 1e6);
    rate.push_back(ours.bytesPerSecond / 1e6);
    bareLoad.push_back(bare.processorPerSecond);
    load.push_back(ours.processorPerSecond);
  }
  const auto trips = roundTrips();
  std::printf(
      "{\"bareMBPerSecond\": %.2f, \"transportMBPerSecond\": %.2f, \"bareProcessors\": %.2f, "
      "\"transportProcessors\": %.2f, \"bareRoundTripUs\": %.1f, \"programRoundTripUs\": %.1f, "
      "\"transportRoundTripUs\": %.1f}\n",
      percentile(bareRate, 0.5), percentile(rate, 0.5), percentile(bareLoad, 0.5), percentile(load, 0.5),
      percentile(trips.bare, 0.5), percentile(trips.program, 0.5), percentile(trips.transport, 0.5));
  std::fflush(stdout);
  // The engine's threads may still be closing.
  std::_Exit(0);
}
