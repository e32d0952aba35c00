#pragma once

#include "p2p/transport/Negotiation.h"

namespace tevanto {

/// AnswerNegotiation is the computer's side: it answers each new offer with a session of its own, and a
/// repeated offer with the same answer again.
class AnswerNegotiation final : public Negotiation {
 public:
  using Negotiation::Negotiation;

  void begin(PeerSession&) override {}
  void replay(PeerSession&, std::string_view) override {}
  void offered(PeerSession& session, const SignalMessage& offer, bool viaCloud) override;
  void answered(PeerSession&, const SignalMessage&, bool) override {}
  bool wantsSnapshot() const override { return replyViaCloud_ && localAnswer_; }

 private:
  const std::optional<SessionDescription>& localDescription() const override { return localAnswer_; }
  void offeredAgain(PeerSession& session, const SignalMessage& offer, bool viaCloud);
  void apply(PeerSession& session, const SignalMessage& offer);
  void handleOfferSet(PeerSession& session, const SignalMessage& offer);
  void handleAnswerSet(SessionDescription answer);

  /// Of the last offer that was applied or is being applied.
  std::optional<std::string> lastOfferSDP_;
  std::optional<SessionDescription> localAnswer_;
  /// The current offer came through the cloud, so that is where its answer has to be.
  bool replyViaCloud_ = false;
};

}  // namespace tevanto
