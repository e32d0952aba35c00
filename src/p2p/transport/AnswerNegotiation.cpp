#include "p2p/transport/AnswerNegotiation.h"

#include <utility>

#include "p2p/transport/PeerSession.h"

namespace tevanto {

void AnswerNegotiation::offered(PeerSession& session, const SignalMessage& offer, bool viaCloud) {
  if (!offer.sdp) return;
  if (offer.sdp == lastOfferSDP_) return offeredAgain(session, offer, viaCloud);
  auto* fresh = session.hasRemoteDescription() ? host_.rebuildSession() : &session;
  if (!fresh) return;
  lastOfferSDP_ = offer.sdp;
  replyViaCloud_ = viaCloud;
  log(std::string("offer received") + (viaCloud ? " via cloud" : ""));
  apply(*fresh, offer);
}

void AnswerNegotiation::offeredAgain(PeerSession& session, const SignalMessage& offer, bool viaCloud) {
  log("duplicate offer replay — applying bundled candidates");
  applyBundled(session, offer);
  if (localAnswer_) {
    sendDescription();
    sendCandidates(session);
  }
  if (viaCloud) {
    replyViaCloud_ = true;
    host_.scheduleSnapshot("duplicate cloud offer");
  }
}

void AnswerNegotiation::apply(PeerSession& session, const SignalMessage& offer) {
  // Completions come while the session lives, and not after its close.
  session.setRemoteDescription({SdpType::offer, *offer.sdp},
                               [this, &session, offer](const Result<void>& set) {
                                 // A newer offer is on its way to the same peer: its completion goes on.
                                 const bool isCurrent = lastOfferSDP_ == offer.sdp;
                                 if (!set.ok()) {
                                   log("setRemoteDescription: " + set.error());
                                   if (isCurrent) lastOfferSDP_.reset();
                                 } else if (isCurrent) {
                                   handleOfferSet(session, offer);
                                 }
                               });
}

void AnswerNegotiation::handleOfferSet(PeerSession& session, const SignalMessage& offer) {
  applyBundled(session, offer);
  session.describe(SdpType::answer, [this](Result<SessionDescription> answer) {
    if (!answer.ok()) {
      log("createAnswer: " + answer.error());
      return lastOfferSDP_.reset();  // the offer may be tried again
    }
    handleAnswerSet(std::move(answer).value());
  });
}

void AnswerNegotiation::handleAnswerSet(SessionDescription answer) {
  localAnswer_ = std::move(answer);
  log("sending answer");
  sendDescription();
  host_.scheduleSnapshot("local answer ready");
}

}  // namespace tevanto
