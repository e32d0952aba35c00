#include "bench/BareChannels.h"

#include <api/jsep.h>
#include <api/peer_connection_interface.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <mutex>
#include <string>
#include <thread>

#include "bench/BareEngine.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Description = std::unique_ptr<webrtc::SessionDescriptionInterface>;

[[noreturn]] void giveUp(const char* why) {
  std::fprintf(stderr, "the bare channels do not connect: %s\n", why);
  std::_Exit(1);
}

class DescriptionPromise : public webrtc::CreateSessionDescriptionObserver {
 public:
  void OnSuccess(webrtc::SessionDescriptionInterface* made) override { made_.set_value(Description(made)); }
  void OnFailure(webrtc::RTCError error) override { giveUp(error.message()); }
  Description wait() { return made_.get_future().get(); }

 private:
  std::promise<Description> made_;
};

class SetPromise : public webrtc::SetLocalDescriptionObserverInterface,
                   public webrtc::SetRemoteDescriptionObserverInterface {
 public:
  void OnSetLocalDescriptionComplete(webrtc::RTCError error) override { done(error); }
  void OnSetRemoteDescriptionComplete(webrtc::RTCError error) override { done(error); }
  void wait() { set_.get_future().wait(); }

 private:
  void done(const webrtc::RTCError& error) {
    if (!error.ok()) giveUp(error.message());
    set_.set_value();
  }

  std::promise<void> set_;
};

/// One side: a peer and its channel, on which it counts what comes or sends it back.
class Side final : public webrtc::PeerConnectionObserver, public webrtc::DataChannelObserver {
 public:
  explicit Side(BareEngine& engine) {
    webrtc::PeerConnectionInterface::RTCConfiguration configuration;
    configuration.sdp_semantics = webrtc::SdpSemantics::kUnifiedPlan;
    configuration.tcp_candidate_policy = webrtc::PeerConnectionInterface::kTcpCandidatePolicyDisabled;
    auto made =
        engine.factory().CreatePeerConnectionOrError(configuration, webrtc::PeerConnectionDependencies(this));
    if (!made.ok()) giveUp(made.error().message());
    peer_ = made.MoveValue();
  }

  void openChannel() {
    auto made = peer_->CreateDataChannelOrError("bare", nullptr);
    if (!made.ok()) giveUp(made.error().message());
    OnDataChannel(made.MoveValue());
  }
  /// What this side says of itself, with all of its candidates.
  Description describe(bool isOffer) {
    const auto made = rtc::make_ref_counted<DescriptionPromise>();
    if (isOffer) {
      peer_->CreateOffer(made.get(), {});
    } else {
      peer_->CreateAnswer(made.get(), {});
    }
    const auto set = rtc::make_ref_counted<SetPromise>();
    peer_->SetLocalDescription(made->wait(), set);
    set->wait();
    gathered_.get_future().wait();
    std::string text;
    peer_->local_description()->ToString(&text);
    return webrtc::CreateSessionDescription(isOffer ? webrtc::SdpType::kOffer : webrtc::SdpType::kAnswer,
                                            text);
  }
  void hear(Description description) {
    const auto set = rtc::make_ref_counted<SetPromise>();
    peer_->SetRemoteDescription(std::move(description), set);
    set->wait();
  }
  void close() {
    channel_->UnregisterObserver();
    peer_->Close();
  }

  /// From now on, what comes is sent back; on this queue, or where it came if there is none.
  void echo(std::shared_ptr<SerialQueue> program) {
    program_ = std::move(program);
    echoes_ = true;
  }
  webrtc::DataChannelInterface& channel() { return *channel_; }
  void awaitOpen() {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::seconds(30), [&] { return isOpen_; }))
      giveUp("no open channel");
  }
  void awaitMessages(std::uint64_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return messages_ >= count; });
  }
  std::uint64_t bytes() {
    const std::lock_guard lock(mutex_);
    return bytes_;
  }

  void OnSignalingChange(webrtc::PeerConnectionInterface::SignalingState) override {}
  void OnIceCandidate(const webrtc::IceCandidateInterface*) override {}
  void OnIceGatheringChange(webrtc::PeerConnectionInterface::IceGatheringState state) override {
    if (state == webrtc::PeerConnectionInterface::kIceGatheringComplete) gathered_.set_value();
  }
  void OnDataChannel(rtc::scoped_refptr<webrtc::DataChannelInterface> channel) override {
    channel_ = std::move(channel);
    channel_->RegisterObserver(this);
    OnStateChange();
  }
  void OnStateChange() override {
    if (channel_->state() != webrtc::DataChannelInterface::kOpen) return;
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
  }
  void OnMessage(const webrtc::DataBuffer& message) override {
    if (echoes_) sendBack(message);
    const std::lock_guard lock(mutex_);
    ++messages_;
    bytes_ += message.size();
    changed_.notify_all();
  }

 private:
  void sendBack(const webrtc::DataBuffer& message) {
    if (program_) {
      program_->async([channel = channel_, message] { channel->Send(message); });
    } else {
      channel_->Send(message);
    }
  }

  rtc::scoped_refptr<webrtc::PeerConnectionInterface> peer_;
  rtc::scoped_refptr<webrtc::DataChannelInterface> channel_;
  std::promise<void> gathered_;
  std::shared_ptr<SerialQueue> program_;
  std::atomic<bool> echoes_ = false;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool isOpen_ = false;
  std::uint64_t messages_ = 0;
  std::uint64_t bytes_ = 0;
};

webrtc::DataBuffer messageOf(std::size_t bytes) {
  rtc::CopyOnWriteBuffer buffer(bytes);
  std::fill_n(buffer.MutableData(), bytes, std::uint8_t{0});
  return {buffer, true};
}

}  // namespace

/// Each side with an engine of its own, as programs have them.
class BareChannels::Pair {
 public:
  Pair() {
    near->openChannel();
    far->hear(near->describe(true));
    near->hear(far->describe(false));
    near->awaitOpen();
    far->awaitOpen();
  }
  ~Pair() {
    near->close();
    far->close();
    program->stop();
  }
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;

 private:
  BareEngine nearEngine_, farEngine_;

 public:
  const std::shared_ptr<EventLoop> program = EventLoop::background(1);
  const std::unique_ptr<Side> near = std::make_unique<Side>(nearEngine_);
  const std::unique_ptr<Side> far = std::make_unique<Side>(farEngine_);
  std::uint64_t tripsDone = 0;
};

BareChannels::BareChannels() : pair_(std::make_unique<Pair>()) {}

BareChannels::BareChannels(Echo echo) : pair_(std::make_unique<Pair>()) {
  pair_->far->echo(echo == Echo::fromProgram ? pair_->program->makeQueue("program") : nullptr);
}

BareChannels::~BareChannels() = default;

Throughput BareChannels::throughput(std::chrono::seconds duration) {
  auto& channel = pair_->near->channel();
  const auto packet = messageOf(kPacket);
  const auto before = pair_->far->bytes();
  const auto start = Clock::now();
  const auto processor = processorSeconds();
  while (Clock::now() - start < duration) {
    if (channel.buffered_amount() > kWindow) {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    } else {
      channel.Send(packet);
    }
  }
  const auto bytes = pair_->far->bytes() - before;
  const auto seconds = milliseconds(Clock::now() - start) / 1000;
  return {static_cast<double>(bytes) / seconds, (processorSeconds() - processor) / seconds};
}

RoundTrips BareChannels::trips(std::uint64_t count) {
  const auto command = messageOf(kCommand);
  RoundTrips trips;
  for (std::uint64_t number = 0; number < count; ++number) {
    const auto start = Clock::now();
    pair_->near->channel().Send(command);
    const auto sent = Clock::now();
    pair_->near->awaitMessages(++pair_->tripsDone);
    trips.microseconds.push_back(milliseconds(Clock::now() - start) * 1000);
    trips.sendMicroseconds.push_back(milliseconds(sent - start) * 1000);
  }
  return trips;
}

double milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double percentile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1,
                         static_cast<std::size_t>(part * static_cast<double>(values.size())))];
}

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace tevanto::bench
