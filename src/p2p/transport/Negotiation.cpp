#include "p2p/transport/Negotiation.h"

#include <utility>

#include "p2p/transport/PeerSession.h"

namespace tevanto {
namespace {

SignalMessage signalOf(const SessionDescription& description) {
  SignalMessage message;
  message.type = toString(description.type);
  message.sdp = description.sdp;
  return message;
}

IceCandidate candidateOf(std::string line, const std::optional<std::string>& mid,
                         std::optional<std::int32_t> lineIndex) {
  return {std::move(line), mid.value_or(""), lineIndex.value_or(0)};
}

}  // namespace

std::string_view toString(SdpType type) { return type == SdpType::offer ? "offer" : "answer"; }

void Negotiation::handleCandidate(PeerSession& session, const SignalMessage& message) {
  if (!message.candidate) return;
  session.addRemoteCandidate(candidateOf(*message.candidate, message.sdpMid, message.sdpMLineIndex));
}

void Negotiation::sendDescription() { send_(signalOf(*localDescription())); }

void Negotiation::sendCandidates(const PeerSession& session) {
  for (const auto& candidate : session.localCandidates()) send_(signalOf(candidate));
}

void Negotiation::applyBundled(PeerSession& session, const SignalMessage& message) {
  if (!message.candidates || message.candidates->empty()) return;
  log("applying " + std::to_string(message.candidates->size()) + " bundled candidates (" +
      candidateSummary(*message.candidates) + ")");
  for (const auto& candidate : *message.candidates) {
    session.addRemoteCandidate(candidateOf(candidate.candidate, candidate.sdpMid, candidate.sdpMLineIndex));
  }
}

std::optional<SignalMessage> Negotiation::snapshot(const PeerSession& session) const {
  if (!localDescription()) return std::nullopt;
  auto message = signalOf(*localDescription());
  auto& bundled = message.candidates.emplace();
  for (const auto& candidate : session.localCandidates()) {
    bundled.push_back({candidate.sdp, candidate.sdpMid, candidate.sdpMLineIndex});
  }
  return message;
}

SignalMessage signalOf(const IceCandidate& candidate) {
  SignalMessage message;
  message.type = "ice";
  message.candidate = candidate.sdp;
  message.sdpMid = candidate.sdpMid;
  message.sdpMLineIndex = candidate.sdpMLineIndex;
  return message;
}

}  // namespace tevanto
