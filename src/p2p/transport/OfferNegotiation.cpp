#include "p2p/transport/OfferNegotiation.h"

#include <utility>

#include "p2p/transport/PeerSession.h"

namespace tevanto {

void OfferNegotiation::begin(PeerSession& session) {
  localOffer_.reset();
  receivedAnswer_ = false;
  session.describe(SdpType::offer, [this](Result<SessionDescription> offer) {
    if (!offer.ok()) return log("createOffer: " + offer.error());
    handleOfferSet(std::move(offer).value());
  });
}

void OfferNegotiation::handleOfferSet(SessionDescription offer) {
  localOffer_ = std::move(offer);
  log("sending offer");
  sendDescription();
  host_.scheduleSnapshot("local offer ready");
}

void OfferNegotiation::replay(PeerSession& session, std::string_view reason) {
  if (receivedAnswer_ || !localOffer_) return;
  log(std::string(reason) + " — replaying offer + " + std::to_string(session.localCandidates().size()) +
      " candidates");
  sendDescription();
  sendCandidates(session);
}

void OfferNegotiation::answered(PeerSession& session, const SignalMessage& answer, bool viaCloud) {
  if (!answer.sdp) return;
  if (receivedAnswer_) return refreshCandidates(session, answer);
  log(std::string("answer received") + (viaCloud ? " via cloud" : ""));
  apply(session, answer);
}

void OfferNegotiation::refreshCandidates(PeerSession& session, const SignalMessage& answer) {
  if (!answer.candidates || answer.candidates->empty()) return;
  log("answer candidate refresh: " + std::to_string(answer.candidates->size()));
  applyBundled(session, answer);
}

void OfferNegotiation::apply(PeerSession& session, const SignalMessage& answer) {
  // Completions come while the session lives, and not after its close.
  session.setRemoteDescription({SdpType::answer, *answer.sdp},
                               [this, &session, answer](const Result<void>& set) {
                                 if (!set.ok()) return log("setRemoteDescription: " + set.error());
                                 receivedAnswer_ = true;
                                 applyBundled(session, answer);
                               });
}

}  // namespace tevanto
