#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "p2p/peer/PeerConnection.h"
#include "p2p/signaling/SignalMessage.h"
#include "p2p/transport/TransportLog.h"

namespace tevanto {

class PeerSession;

/// Negotiation is one role's part in the exchange of descriptions and candidates. The current session is
/// passed into each call. Layout of the signals: docs/protocol.md, section 9.3; their order: section 9.4.
/// Lives on the state queue; owned by its host, which outlives it.
class Negotiation {
 public:
  class Host {
   public:
    virtual ~Host() = default;
    /// Closes the current session and makes a fresh one. Null when the engine refuses.
    virtual PeerSession* rebuildSession() = 0;
    /// The cloud's record is out of date.
    virtual void scheduleSnapshot(std::string_view reason) = 0;
  };
  /// Sends a signal to the other side.
  using SignalSender = std::function<void(const SignalMessage&)>;

  Negotiation(Host& host, SignalSender send, TransportLog log)
      : host_(host), send_(std::move(send)), log_(std::move(log)) {}
  virtual ~Negotiation() = default;
  Negotiation(const Negotiation&) = delete;
  Negotiation& operator=(const Negotiation&) = delete;

  /// `session` is fresh: nothing has been done with it.
  virtual void begin(PeerSession& session) = 0;
  /// The other side or this one has just entered the room: sends again what the other side may have missed.
  virtual void replay(PeerSession& session, std::string_view reason) = 0;
  /// May rebuild the session, which ends `session`.
  virtual void offered(PeerSession& session, const SignalMessage& offer, bool viaCloud) = 0;
  virtual void answered(PeerSession& session, const SignalMessage& answer, bool viaCloud) = 0;
  void handleCandidate(PeerSession& session, const SignalMessage& message);

  /// True when the cloud's record is to hold our description now.
  virtual bool wantsSnapshot() const = 0;
  /// Our description with all our candidates; nothing while there is no description.
  std::optional<SignalMessage> snapshot(const PeerSession& session) const;

 protected:
  virtual const std::optional<SessionDescription>& localDescription() const = 0;
  void sendDescription();
  void sendCandidates(const PeerSession& session);
  void applyBundled(PeerSession& session, const SignalMessage& message);
  void log(const std::string& line) const { log_.info(line); }

  Host& host_;

 private:
  const SignalSender send_;
  const TransportLog log_;
};

/// A trickled candidate as a signal.
SignalMessage signalOf(const IceCandidate& candidate);
/// "offer" or "answer", as signals name them.
std::string_view toString(SdpType type);

}  // namespace tevanto
