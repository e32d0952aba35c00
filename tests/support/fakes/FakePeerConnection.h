#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "p2p/peer/PeerConnection.h"
#include "tests/support/fakes/FakeDataChannel.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto::test {

/// A peer connection without an engine. It notes what it is told, in order, completes on a queue of the
/// test's, and says what the test lets it say. Single-threaded.
class FakePeerConnection final : public PeerConnection {
 public:
  FakePeerConnection(PeerConfiguration made, std::weak_ptr<PeerConnectionObserver> observer,
                     std::shared_ptr<ManualQueue> engine, std::string called)
      : configuration(std::move(made)),
        name(std::move(called)),
        observer_(std::move(observer)),
        engine_(std::move(engine)) {}

  void createOffer(DescriptionHandler done) override {
    describe("createOffer", {SdpType::offer, "offer of " + name}, std::move(done));
  }
  void createAnswer(DescriptionHandler done) override {
    describe("createAnswer", {SdpType::answer, "answer of " + name}, std::move(done));
  }
  void setLocalDescription(const SessionDescription& description, DoneHandler done) override {
    set("setLocal " + description.sdp, std::move(done));
  }
  void setRemoteDescription(const SessionDescription& description, DoneHandler done) override {
    remoteType = description.type;
    set("setRemote " + description.sdp, std::move(done));
  }
  void addCandidate(const IceCandidate& candidate) override {
    calls.push_back("add " + candidate.sdp);
    candidates.push_back(candidate);
  }
  std::shared_ptr<DataChannel> createDataChannel(const std::string& label,
                                                 const DataChannelOptions& options) override {
    calls.push_back("channel " + label);
    if (refusesChannels) return nullptr;
    created.push_back({std::make_shared<FakeDataChannel>(label, DataChannelState::connecting), options});
    return created.back().first;
  }
  IceConnectionState iceConnectionState() const override { return iceState; }
  void statistics(StatisticsHandler done) override {
    calls.emplace_back("statistics");
    complete([done = std::move(done), report = report] { done(report); });
  }
  void close() override {
    calls.emplace_back("close");
    isClosed = true;
    observer_.reset();
  }

  // What the engine says.
  void says(IceConnectionState state) {
    iceState = state;
    if (const auto observer = observer_.lock()) observer->peerDidChangeIceConnectionState(state);
  }
  void says(IceGatheringState state) {
    if (const auto observer = observer_.lock()) observer->peerDidChangeIceGatheringState(state);
  }
  void gathers(const IceCandidate& candidate) {
    if (const auto observer = observer_.lock()) observer->peerDidGenerateCandidate(candidate);
  }
  void opens(const std::shared_ptr<DataChannel>& channel) {
    if (const auto observer = observer_.lock()) observer->peerDidOpenDataChannel(channel);
  }

  /// Completes what was held back.
  void completes() {
    holds = false;
    for (auto& work : std::exchange(held_, {})) engine_->async(std::move(work));
  }

  FakeDataChannel& channel(const std::string& label) {
    return *std::find_if(created.begin(), created.end(), [&](const auto& c) {
              return c.first->label() == label;
            })->first;
  }
  long count(const std::string& call) const { return std::count(calls.begin(), calls.end(), call); }

  const PeerConfiguration configuration;
  const std::string name;
  std::vector<std::string> calls;
  std::vector<IceCandidate> candidates;
  std::vector<std::pair<std::shared_ptr<FakeDataChannel>, DataChannelOptions>> created;
  std::optional<SdpType> remoteType;
  IceConnectionState iceState = IceConnectionState::new_;
  RouteReport report;
  bool isClosed = false;
  bool refusesChannels = false;
  /// Nothing completes until `completes()`.
  bool holds = false;
  /// The call ("createAnswer", "setRemote offer") that fails from now on, and with what.
  std::optional<std::pair<std::string, std::string>> failure;

 private:
  void describe(const std::string& call, const SessionDescription& description, DescriptionHandler done) {
    calls.push_back(call);
    auto result = fails(call) ? Result<SessionDescription>(Failure{failure->second}) : Result(description);
    complete([done = std::move(done), result = std::move(result)] { done(result); });
  }
  void set(const std::string& call, DoneHandler done) {
    calls.push_back(call);
    auto result = fails(call) ? Result<void>(Failure{failure->second}) : Result<void>();
    complete([done = std::move(done), result = std::move(result)] { done(result); });
  }
  bool fails(const std::string& call) const { return failure && call.starts_with(failure->first); }
  /// Even after the close: who asked must be able to bear it.
  void complete(std::function<void()> work) {
    if (holds) return held_.push_back(std::move(work));
    engine_->async(std::move(work));
  }

  std::weak_ptr<PeerConnectionObserver> observer_;
  const std::shared_ptr<ManualQueue> engine_;
  std::vector<std::function<void()>> held_;
};

class FakePeerConnectionFactory final : public PeerConnectionFactory {
 public:
  explicit FakePeerConnectionFactory(std::shared_ptr<ManualQueue> engine) : engine_(std::move(engine)) {}

  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override {
    if (refuses) return nullptr;
    auto peer = std::make_shared<FakePeerConnection>(configuration, std::move(observer), engine_,
                                                     "peer " + std::to_string(++made));
    peer->failure = failure;
    peer->holds = holds;
    peer->refusesChannels = refusesChannels;
    peers.push_back(peer);
    return peer;
  }

  /// The one that was made last, which somebody has to hold.
  std::shared_ptr<FakePeerConnection> newest() const { return peers.empty() ? nullptr : peers.back().lock(); }
  long alive() const {
    return std::count_if(peers.begin(), peers.end(), [](const auto& peer) { return !peer.expired(); });
  }

  std::vector<std::weak_ptr<FakePeerConnection>> peers;
  int made = 0;
  bool refuses = false;
  // What new peers are like.
  std::optional<std::pair<std::string, std::string>> failure;
  bool holds = false;
  bool refusesChannels = false;

 private:
  const std::shared_ptr<ManualQueue> engine_;
};

}  // namespace tevanto::test
