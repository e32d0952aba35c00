#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto::test {

/// Peers without a network that find one another by their descriptions, and call back on a thread of their
/// own, as an engine does: fast, so that a thread sanitizer may watch thousands of them.
class ThreadedPeers final : public PeerConnectionFactory {
 public:
  explicit ThreadedPeers(std::shared_ptr<SerialQueue> engine) : engine_(std::move(engine)) {}

  std::shared_ptr<PeerConnection> create(const PeerConfiguration&,
                                         std::weak_ptr<PeerConnectionObserver> observer) override {
    const auto peer = std::make_shared<Peer>(*this, std::to_string(++made), std::move(observer));
    const std::lock_guard lock(mutex_);
    peers_[peer->name] = peer;
    return peer;
  }

  std::atomic<int> made = 0;
  std::atomic<int> alive = 0;

 private:
  class Channel final : public DataChannel, public std::enable_shared_from_this<Channel> {
   public:
    Channel(std::shared_ptr<SerialQueue> engine, std::string label)
        : engine_(std::move(engine)), label_(std::move(label)) {}

    std::string label() const override { return label_; }
    DataChannelState state() const override { return state_; }
    std::uint64_t bufferedAmount() const override { return 0; }
    bool send(std::span<const std::byte> message) override {
      if (state_ != DataChannelState::open) return false;
      engine_->async([other = other_, bytes = std::vector(message.begin(), message.end())] {
        if (const auto end = other.lock()) end->deliver(bytes);
      });
      return true;
    }
    void setObserver(std::weak_ptr<Observer> observer) override {
      const std::lock_guard lock(calls_);
      observer_ = std::move(observer);
    }
    void close() override {
      engine_->async([self = shared_from_this()] {
        self->enter(DataChannelState::closed);
        if (const auto end = self->other_.lock()) end->enter(DataChannelState::closed);
      });
    }

    // On the engine's thread.
    void join(const std::shared_ptr<Channel>& other) { other_ = other; }
    void enter(DataChannelState state) {
      if (state_.exchange(state) == state) return;
      const std::lock_guard lock(calls_);
      if (const auto observer = observer_.lock()) observer->dataChannelDidChangeState(*this);
    }

   private:
    void deliver(std::span<const std::byte> message) {
      const std::lock_guard lock(calls_);
      if (const auto observer = observer_.lock()) observer->dataChannelDidReceive(*this, message);
    }

    const std::shared_ptr<SerialQueue> engine_;
    const std::string label_;
    std::atomic<DataChannelState> state_ = DataChannelState::connecting;
    std::weak_ptr<Channel> other_;  // set before it opens
    std::recursive_mutex calls_;    // held during a call of the observer
    std::weak_ptr<Observer> observer_;
  };

  class Peer final : public PeerConnection, public std::enable_shared_from_this<Peer> {
   public:
    Peer(ThreadedPeers& peers, std::string itsName, std::weak_ptr<PeerConnectionObserver> observer)
        : name(std::move(itsName)), peers_(peers), observer_(std::move(observer)) {
      ++peers_.alive;
    }
    ~Peer() override { --peers_.alive; }

    void createOffer(DescriptionHandler done) override {
      complete(done, SessionDescription{SdpType::offer, name});
    }
    void createAnswer(DescriptionHandler done) override {
      complete(done, SessionDescription{SdpType::answer, name});
    }
    void setLocalDescription(const SessionDescription&, DoneHandler done) override {
      complete(done, Result<void>());
      notify([](PeerConnectionObserver& observer) {
        observer.peerDidGenerateCandidate({"candidate:1 1 udp 1 127.0.0.1 9 typ host x", "0", 0});
        observer.peerDidChangeIceGatheringState(IceGatheringState::complete);
      });
    }
    void setRemoteDescription(const SessionDescription& description, DoneHandler done) override {
      const bool answers = description.type == SdpType::answer;
      if (answers && answered_.exchange(true)) return complete(done, Result<void>(Failure{"already stable"}));
      complete(done, Result<void>());
      if (!answers) return;
      peers_.engine_->async([self = shared_from_this(), other = peers_.find(description.sdp)] {
        if (const auto peer = other.lock()) self->connect(*peer);
      });
    }
    void addCandidate(const IceCandidate&) override {}
    std::shared_ptr<DataChannel> createDataChannel(const std::string& label,
                                                   const DataChannelOptions&) override {
      const auto channel = std::make_shared<Channel>(peers_.engine_, label);
      const std::lock_guard lock(calls_);
      channels_.push_back(channel);
      return channel;
    }
    IceConnectionState iceConnectionState() const override { return IceConnectionState::connected; }
    void statistics(StatisticsHandler done) override {
      const auto* type = ++questions_ % 2 == 0 ? "relay" : "host";
      complete(done, RouteReport{.selectedCandidatePairId = "P",
                                 .pairs = {{.id = "P", .localCandidateId = "L", .remoteCandidateId = "L"}},
                                 .candidates = {{"L", type}}});
    }
    void close() override {
      const std::lock_guard lock(calls_);
      observer_.reset();
      for (const auto& channel : std::exchange(channels_, {})) channel->close();
    }

    const std::string name;

   private:
    /// Completions do not come after a close; whoever asked is to bear it when one crosses with it.
    template <class Handler, class Value>
    void complete(Handler done, Value value) {
      peers_.engine_->async([done = std::move(done), value = std::move(value)] { done(value); });
    }
    template <class Work>
    void notify(Work work) {
      peers_.engine_->async([self = shared_from_this(), work] {
        const std::lock_guard lock(self->calls_);
        if (const auto observer = self->observer_.lock()) work(*observer);
      });
    }
    void connect(Peer& other) {
      std::vector<std::shared_ptr<Channel>> mine;
      {
        const std::lock_guard lock(calls_);
        mine = channels_;
      }
      for (const auto& channel : mine) other.open(channel);
      for (auto* peer : {this, &other}) {
        peer->notify(
            [](auto& observer) { observer.peerDidChangeIceConnectionState(IceConnectionState::connected); });
        peer->notify([](auto& observer) {
          observer.peerDidChangeIceConnectionState(IceConnectionState::disconnected);
        });
        peer->notify(
            [](auto& observer) { observer.peerDidChangeIceConnectionState(IceConnectionState::completed); });
      }
    }
    void open(const std::shared_ptr<Channel>& theirs) {
      const auto mine = std::make_shared<Channel>(peers_.engine_, theirs->label());
      mine->join(theirs);
      theirs->join(mine);
      {
        const std::lock_guard lock(calls_);
        const auto observer = observer_.lock();
        if (!observer) return;
        channels_.push_back(mine);
        observer->peerDidOpenDataChannel(mine);
      }
      mine->enter(DataChannelState::open);
      theirs->enter(DataChannelState::open);
    }

    ThreadedPeers& peers_;
    std::atomic<bool> answered_ = false;
    std::atomic<int> questions_ = 0;
    std::recursive_mutex calls_;  // held during a call of the observer
    std::weak_ptr<PeerConnectionObserver> observer_;
    std::vector<std::shared_ptr<Channel>> channels_;
  };

  std::weak_ptr<Peer> find(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return peers_[name];
  }

  const std::shared_ptr<SerialQueue> engine_;
  std::mutex mutex_;
  std::map<std::string, std::weak_ptr<Peer>> peers_;
};

}  // namespace tevanto::test
