#include "p2p/transport/AnswerNegotiation.h"

#include <utility>

#include "p2p/transport/PeerSession.h"

namespace tevanto {

void AnswerNegotiation::offered(const SignalMessage& offer, bool viaCloud) {
  if (!offer.sdp) return;
  if (offer.sdp == lastOfferSDP_) return offeredAgain(offer, viaCloud);
  if (host_.session().hasRemoteDescription() && !host_.rebuildSession()) return;
  lastOfferSDP_ = offer.sdp;
  replyViaCloud_ = viaCloud;
  host_.say(std::string("offer received") + (viaCloud ? " via cloud" : ""));
  apply(offer);
}

void AnswerNegotiation::offeredAgain(const SignalMessage& offer, bool viaCloud) {
  host_.say("duplicate offer replay — applying bundled candidates");
  applyBundled(offer);
  if (localAnswer_) {
    sendDescription();
    sendCandidates();
  }
  if (viaCloud) {
    replyViaCloud_ = true;
    host_.scheduleSnapshot("duplicate cloud offer");
  }
}

void AnswerNegotiation::apply(const SignalMessage& offer) {
  host_.session().setRemoteDescription({SdpType::offer, *offer.sdp}, [this, offer](const Result<void>& set) {
    // A newer offer is on its way to the same peer: its completion goes on.
    const bool isCurrent = lastOfferSDP_ == offer.sdp;
    if (!set.ok()) {
      host_.say("setRemoteDescription: " + set.error());
      if (isCurrent) lastOfferSDP_.reset();
    } else if (isCurrent) {
      offerIsSet(offer);
    }
  });
}

void AnswerNegotiation::offerIsSet(const SignalMessage& offer) {
  applyBundled(offer);
  host_.session().describe(SdpType::answer, [this](Result<SessionDescription> answer) {
    if (!answer.ok()) {
      host_.say("createAnswer: " + answer.error());
      return lastOfferSDP_.reset();  // the offer may be tried again
    }
    answerIsSet(std::move(answer).value());
  });
}

void AnswerNegotiation::answerIsSet(SessionDescription answer) {
  localAnswer_ = std::move(answer);
  host_.say("sending answer");
  sendDescription();
  host_.scheduleSnapshot("local answer ready");
}

}  // namespace tevanto
