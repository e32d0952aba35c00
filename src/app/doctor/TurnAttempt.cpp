#include "app/doctor/TurnAttempt.h"

#include <chrono>
#include <memory>

#include "core/queue/OneShotResult.h"
#include "p2p/ice/StunProbe.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kTurnTimeout = std::chrono::seconds(8);
constexpr auto kRelayed = " typ relay ";

/// Waits for a candidate that the TURN server relays.
class Gathering final : public PeerConnectionObserver {
 public:
  void peerDidChangeIceConnectionState(IceConnectionState) override {}
  void peerDidChangeIceGatheringState(IceGatheringState) override {}
  void peerDidOpenDataChannel(std::shared_ptr<DataChannel>) override {}
  void peerDidGenerateCandidate(const IceCandidate& candidate) override {
    if (candidate.sdp.find(kRelayed) != std::string::npos) relayed_.set(true);
  }
  bool succeedsUntil(Clock::time_point end) { return relayed_.waitUntil(end).has_value(); }

 private:
  OneShotResult<bool> relayed_;
};

/// Gathering begins with the local description, and needs something to gather for.
Result<void> beginGathering(PeerConnection& peer, Clock::time_point end) {
  if (!peer.createDataChannel("tevanto", {})) return Failure{"the engine makes no channel"};
  const auto offered = std::make_shared<OneShotResult<Result<SessionDescription>>>();
  peer.createOffer([offered](Result<SessionDescription> offer) { offered->set(std::move(offer)); });
  const auto offer = offered->waitUntil(end);
  if (!offer || !*offer) return Failure{offer ? offer->error() : "the engine makes no offer"};
  const auto set = std::make_shared<OneShotResult<Result<void>>>();
  peer.setLocalDescription(offer->value(), [set](Result<void> done) { set->set(std::move(done)); });
  return set->waitUntil(end).value_or(Failure{"the engine does not take its own offer"});
}

/// Whether the server is there at all: every TURN server answers STUN too. Only over UDP.
std::string whyNot(const IceUrl& url) {
  if (url.transport != "udp") {
    return "check that it listens for " + url.transport +
           " there, that the firewall lets it through, and its secret";
  }
  const auto seen = askStun(url);
  if (!seen) return seen.error() + "; check that it runs and that the firewall lets UDP to its port through";
  return "it runs but refuses our credentials or has no address to give; check that its static-auth-secret "
         "is "
         "the relay's --turn-secret, its clock, and its relay addresses";
}

}  // namespace

Result<std::string> tryTurn(PeerConnectionFactory& peers, const RemoteIceServerConfig& server) {
  const auto& text = server.urlStrings.front();
  const auto url = parseIceUrl(text);
  if (!url || !isTURNServer(server)) {
    return Failure{text + " is no address of a TURN server; write it as turn:host:port?transport=udp."};
  }
  const auto end = Clock::now() + kTurnTimeout;
  const auto gathering = std::make_shared<Gathering>();
  const auto peer = peers.create({{server}}, gathering);
  if (!peer) {
    return Failure{"The WebRTC engine refuses " + text + "; write it as turn:host:port?transport=udp."};
  }
  const auto begun = beginGathering(*peer, end);
  // Asked meanwhile, for the time of all this is bounded.
  const auto remedy =
      begun && !gathering->succeedsUntil(Clock::now() + std::chrono::seconds(2)) ? whyNot(*url) : "";
  const bool succeeded = begun && gathering->succeedsUntil(end);
  peer->close();
  if (succeeded) return text + " allocated";
  if (!begun)
    return Failure{"No address can be allocated on " + text + ", for " + begun.error() +
                   "; run the doctor again."};
  return Failure{"No address was allocated on " + text + ": " + remedy + "."};
}

}  // namespace tevanto
