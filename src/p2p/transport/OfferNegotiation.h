#pragma once

#include "p2p/transport/Negotiation.h"

namespace tevanto {

/// OfferNegotiation is the phone's side: it offers, sends the offer again when the other side enters the
/// room, and takes the first answer that applies.
class OfferNegotiation final : public Negotiation {
 public:
  using Negotiation::Negotiation;

  bool receivedAnswer() const { return receivedAnswer_; }

  /// Offers anew, with a session whose channels are made.
  void begin(PeerSession& session) override;
  void replay(PeerSession& session, std::string_view reason) override;
  void offered(PeerSession&, const SignalMessage&, bool) override {}
  void answered(PeerSession& session, const SignalMessage& answer, bool viaCloud) override;
  bool wantsSnapshot() const override { return !receivedAnswer_ && localOffer_; }

 private:
  const std::optional<SessionDescription>& localDescription() const override { return localOffer_; }
  void handleOfferSet(SessionDescription offer);
  void refreshCandidates(PeerSession& session, const SignalMessage& answer);
  void apply(PeerSession& session, const SignalMessage& answer);

  std::optional<SessionDescription> localOffer_;
  bool receivedAnswer_ = false;
};

}  // namespace tevanto
