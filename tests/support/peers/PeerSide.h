#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "p2p/peer/PeerConnection.h"

namespace tevanto::test {

/// One side of a pair of real peers: keeps what its peer and its channels tell, and brings its candidates to
/// the other side, which keeps them until it has a remote description.
class PeerSide final : public PeerConnectionObserver,
                       public DataChannel::Observer,
                       public std::enable_shared_from_this<PeerSide> {
 public:
  using Filter = std::function<bool(const IceCandidate&)>;

  /// Throws when the factory refuses.
  static std::shared_ptr<PeerSide> make(PeerConnectionFactory& factory,
                                        const PeerConfiguration& configuration = {});

  PeerConnection& peer() { return *peer_; }
  /// Where its candidates go, those that pass the filter.
  void trickleTo(const std::shared_ptr<PeerSide>& other, Filter filter = {});
  std::shared_ptr<DataChannel> openChannel(const std::string& label, const DataChannelOptions& options = {});
  /// The channel of this label that either side made; null while there is none.
  std::shared_ptr<DataChannel> channel(const std::string& label) const;

  // Each waits for its end.
  Result<SessionDescription> createOffer();
  Result<SessionDescription> createAnswer();
  Result<void> setLocal(const SessionDescription& description);
  Result<void> setRemote(const SessionDescription& description);
  RouteReport statistics();

  std::vector<std::string> received(const std::string& label) const;
  std::size_t receivedCount(const std::string& label) const;
  std::vector<IceConnectionState> iceStates() const;
  std::vector<IceGatheringState> gatheringStates() const;
  std::vector<IceCandidate> candidates() const;
  std::vector<DataChannelState> channelStates(const std::string& label) const;

  /// Whether it observes a channel of the other side as soon as it is told of it.
  std::atomic<bool> observesAtOnce = true;
  /// Takes messages instead of keeping them; set before the first can come.
  std::function<void(DataChannel&, std::span<const std::byte>)> onMessage;

  void peerDidChangeIceConnectionState(IceConnectionState state) override;
  void peerDidChangeIceGatheringState(IceGatheringState state) override;
  void peerDidGenerateCandidate(const IceCandidate& candidate) override;
  void peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) override;
  void dataChannelDidChangeState(DataChannel& channel) override;
  void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) override;

 private:
  void takeCandidate(const IceCandidate& candidate);
  void becomeRemote();

  std::shared_ptr<PeerConnection> peer_;
  mutable std::mutex mutex_;
  std::weak_ptr<PeerSide> other_;
  Filter filter_;
  bool hasRemote_ = false;
  std::vector<IceCandidate> waiting_;
  std::vector<IceCandidate> candidates_;
  std::vector<IceConnectionState> iceStates_;
  std::vector<IceGatheringState> gatheringStates_;
  std::map<std::string, std::shared_ptr<DataChannel>> channels_;
  std::map<std::string, std::vector<std::string>> received_;
  std::map<std::string, std::vector<DataChannelState>> channelStates_;
};

/// The whole of the negotiation, `offerer` having made a channel.
Result<void> negotiate(PeerSide& offerer, PeerSide& answerer);

/// Two of them whose channel "tevanto" is open at both ends; null when that does not come about.
struct PeerPair {
  std::shared_ptr<PeerSide> offerer;
  std::shared_ptr<PeerSide> answerer;

  explicit operator bool() const { return offerer && answerer; }
  void close() const;
};
PeerPair connectedPair(PeerConnectionFactory& factory, const PeerConfiguration& configuration = {},
                       const PeerSide::Filter& filter = {});

}  // namespace tevanto::test
