#pragma once

#include "p2p/transport/Negotiation.h"

namespace tevanto {

/// The phone's side: offers, says the offer again to whoever comes into the room, and takes the first answer
/// that applies.
class OfferNegotiation final : public Negotiation {
 public:
  using Negotiation::Negotiation;

  bool receivedAnswer() const { return receivedAnswer_; }

  /// Offers anew, with a session whose channels are made.
  void begin() override;
  void replay(std::string_view reason) override;
  void offered(const SignalMessage&, bool) override {}
  void answered(const SignalMessage& answer, bool viaCloud) override;
  bool wantsSnapshot() const override { return !receivedAnswer_ && localOffer_; }

 private:
  const std::optional<SessionDescription>& localDescription() const override { return localOffer_; }
  void offerIsSet(SessionDescription offer);
  void refreshCandidates(const SignalMessage& answer);
  void apply(const SignalMessage& answer);

  std::optional<SessionDescription> localOffer_;
  bool receivedAnswer_ = false;
};

}  // namespace tevanto
