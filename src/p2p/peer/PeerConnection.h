#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

/// IceConnectionState is the state of ICE (RFC 8445) as WebRTC 1.0 names it. `count` and anything later are
/// not states.
enum class IceConnectionState { new_, checking, connected, completed, failed, disconnected, closed, count };
/// The name of a state in WebRTC 1.0; "count" and "unknown" for the values that are none.
constexpr std::string_view toString(IceConnectionState state) {
  switch (state) {
    case IceConnectionState::new_:
      return "new";
    case IceConnectionState::checking:
      return "checking";
    case IceConnectionState::connected:
      return "connected";
    case IceConnectionState::completed:
      return "completed";
    case IceConnectionState::failed:
      return "failed";
    case IceConnectionState::disconnected:
      return "disconnected";
    case IceConnectionState::closed:
      return "closed";
    case IceConnectionState::count:
      return "count";
  }
  return "unknown";
}

/// True while packets get through.
constexpr bool isConnected(IceConnectionState state) {
  return state == IceConnectionState::connected || state == IceConnectionState::completed;
}

/// IceGatheringState is the state of gathering candidates, as WebRTC 1.0 names it.
enum class IceGatheringState { new_, gathering, complete };
/// DataChannelState is the state of a data channel, as WebRTC 1.0 names it.
enum class DataChannelState { connecting, open, closing, closed };
/// SdpType is the part of a session description in a negotiation (RFC 3264).
enum class SdpType { offer, answer };

/// SessionDescription is the session description (RFC 8866) of a peer.
struct SessionDescription {
  SdpType type = SdpType::offer;
  std::string sdp;

  bool operator==(const SessionDescription&) const = default;
};

/// IceCandidate is one ICE candidate; `sdp` is its candidate line.
struct IceCandidate {
  std::string sdp;
  std::string sdpMid;
  std::int32_t sdpMLineIndex = 0;

  bool operator==(const IceCandidate&) const = default;
};

/// DataChannelOptions describe a channel that is ordered and reliable by default.
struct DataChannelOptions {
  bool ordered = true;
  std::optional<int> maxRetransmits;
};

/// RouteReport is the part of the statistics from which the selected candidate pair can be found. Its names
/// are the W3C WebRTC statistics identifiers.
struct RouteReport {
  /// CandidatePair is one "candidate-pair" report.
  struct CandidatePair {
    std::string id = {};
    std::string localCandidateId = {};
    std::string remoteCandidateId = {};
    std::optional<bool> selected = {};
    bool nominated = false;
    std::string state = {};
  };
  /// Candidate is one report of a local candidate.
  struct Candidate {
    std::string id;
    std::string candidateType;  // "host", "srflx", "prflx" or "relay"
  };
  std::optional<std::string> selectedCandidatePairId;  // of the "transport" report
  std::vector<CandidatePair> pairs;
  std::vector<Candidate> candidates;
};

/// DataChannel is one data channel of a peer connection. Thread-safe. It ends once neither its owner nor its
/// peer holds it.
class DataChannel {
 public:
  /// Observer receives the events of one channel. Called on threads of the engine; must return soon and must
  /// not wait for another thread.
  class Observer {
   public:
    virtual ~Observer() = default;
    virtual void dataChannelDidChangeState(DataChannel& channel) = 0;
    /// The bytes are valid during the call only.
    virtual void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) = 0;
  };

  virtual ~DataChannel() = default;
  virtual std::string label() const = 0;
  virtual DataChannelState state() const = 0;
  /// Bytes given to `send` that the network has not taken yet.
  virtual std::uint64_t bufferedAmount() const = 0;
  /// Sends one binary message; false when the channel is not open or its buffer is full. Messages keep the
  /// order of the calls of one thread. The observer may hear of the channel's end inside the call.
  virtual bool send(std::span<const std::byte> message) = 0;
  /// No observer call comes after this has returned with an empty one, unless it is made inside such a call.
  virtual void setObserver(std::weak_ptr<Observer> observer) = 0;
  virtual void close() = 0;
};

/// PeerConnectionObserver receives the events of one peer. Called on threads of the engine; must return soon
/// and must not wait for another thread.
class PeerConnectionObserver {
 public:
  virtual ~PeerConnectionObserver() = default;
  virtual void peerDidChangeIceConnectionState(IceConnectionState state) = 0;
  virtual void peerDidChangeIceGatheringState(IceGatheringState state) = 0;
  virtual void peerDidGenerateCandidate(const IceCandidate& candidate) = 0;
  virtual void peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) = 0;
};

/// PeerConnection is one connection to another peer.
/// Thread-safe, but must not be called on the engine's own threads (the signaling loop is allowed).
/// Each completion runs exactly once, on a thread of the engine or on the signaling loop, and never inside
/// the call.
class PeerConnection {
 public:
  using DescriptionHandler = std::function<void(Result<SessionDescription>)>;
  using DoneHandler = std::function<void(Result<void>)>;
  using StatisticsHandler = std::function<void(RouteReport)>;

  virtual ~PeerConnection() = default;
  virtual void createOffer(DescriptionHandler done) = 0;
  virtual void createAnswer(DescriptionHandler done) = 0;
  virtual void setLocalDescription(const SessionDescription& description, DoneHandler done) = 0;
  virtual void setRemoteDescription(const SessionDescription& description, DoneHandler done) = 0;
  /// Only after the remote description is set. One that does not parse is dropped.
  virtual void addCandidate(const IceCandidate& candidate) = 0;
  /// Null when the engine refuses.
  virtual std::shared_ptr<DataChannel> createDataChannel(const std::string& label,
                                                         const DataChannelOptions& options) = 0;
  virtual IceConnectionState iceConnectionState() const = 0;
  virtual void statistics(StatisticsHandler done) = 0;
  /// Ends it; no observer call and no completion comes after this has returned.
  virtual void close() = 0;
};

/// PeerConfiguration is what differs between peers. Gathering is always continual, descriptions are unified
/// plan, the ICE transport policy is "all".
struct PeerConfiguration {
  std::vector<RemoteIceServerConfig> iceServers;
};

/// PeerConnectionFactory makes the peers of one engine.
class PeerConnectionFactory {
 public:
  virtual ~PeerConnectionFactory() = default;
  /// Null when the engine refuses the configuration.
  virtual std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                                 std::weak_ptr<PeerConnectionObserver> observer) = 0;
};

}  // namespace tevanto
