#include "p2p/transport/OfferNegotiation.h"

#include <utility>

#include "p2p/transport/PeerSession.h"

namespace tevanto {

void OfferNegotiation::begin() {
  localOffer_.reset();
  receivedAnswer_ = false;
  host_.session().describe(SdpType::offer, [this](Result<SessionDescription> offer) {
    if (!offer.ok()) return host_.say("createOffer: " + offer.error());
    offerIsSet(std::move(offer).value());
  });
}

void OfferNegotiation::offerIsSet(SessionDescription offer) {
  localOffer_ = std::move(offer);
  host_.say("sending offer");
  sendDescription();
  host_.scheduleSnapshot("local offer ready");
}

void OfferNegotiation::replay(std::string_view reason) {
  if (receivedAnswer_ || !localOffer_) return;
  host_.say(std::string(reason) + " — replaying offer + " +
            std::to_string(host_.session().localCandidates().size()) + " candidates");
  sendDescription();
  sendCandidates();
}

void OfferNegotiation::answered(const SignalMessage& answer, bool viaCloud) {
  if (!answer.sdp) return;
  if (receivedAnswer_) return refreshCandidates(answer);
  host_.say(std::string("answer received") + (viaCloud ? " via cloud" : ""));
  apply(answer);
}

void OfferNegotiation::refreshCandidates(const SignalMessage& answer) {
  if (!answer.candidates || answer.candidates->empty()) return;
  host_.say("answer candidate refresh: " + std::to_string(answer.candidates->size()));
  applyBundled(answer);
}

void OfferNegotiation::apply(const SignalMessage& answer) {
  host_.session().setRemoteDescription({SdpType::answer, *answer.sdp},
                                       [this, answer](const Result<void>& set) {
                                         if (!set.ok())
                                           return host_.say("setRemoteDescription: " + set.error());
                                         receivedAnswer_ = true;
                                         applyBundled(answer);
                                       });
}

}  // namespace tevanto
