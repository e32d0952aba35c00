#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "p2p/peer/PeerConnection.h"
#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

class PeerSession;

/// What one role does with the messages of the other side. On the state queue; owned by its host, which keeps
/// it while a session lives.
class Negotiation {
 public:
  class Host {
   public:
    virtual ~Host() = default;
    /// Whether there is one; always while a signal is handled.
    virtual bool hasSession() const = 0;
    virtual PeerSession& session() = 0;
    /// A new peer takes the place of the current one. False when the engine refuses.
    virtual bool rebuildSession() = 0;
    virtual void send(const SignalMessage& message) = 0;
    /// The cloud's record is out of date.
    virtual void scheduleSnapshot(std::string_view reason) = 0;
    /// Logs a line of this transport.
    virtual void say(const std::string& line) = 0;
  };

  explicit Negotiation(Host& host) : host_(host) {}
  virtual ~Negotiation() = default;
  Negotiation(const Negotiation&) = delete;
  Negotiation& operator=(const Negotiation&) = delete;

  /// A session that nothing was done with yet.
  virtual void begin() = 0;
  /// The other side has just come into the room, or we have: what it may have missed is said again.
  virtual void replay(std::string_view reason) = 0;
  virtual void offered(const SignalMessage& offer, bool viaCloud) = 0;
  virtual void answered(const SignalMessage& answer, bool viaCloud) = 0;
  void candidateCame(const SignalMessage& message);

  Host& host() const { return host_; }
  /// Whether the cloud's record is to hold our description now.
  virtual bool wantsSnapshot() const = 0;
  /// Our description with all our candidates; nothing while there is no description or no
  /// session.
  std::optional<SignalMessage> snapshot() const;

 protected:
  virtual const std::optional<SessionDescription>& localDescription() const = 0;
  void sendDescription();
  void sendCandidates();
  void applyBundled(const SignalMessage& message);

  Host& host_;
};

/// A trickled candidate as a signal.
SignalMessage signalOf(const IceCandidate& candidate);
/// "offer" or "answer", as signals name them.
std::string_view toString(SdpType type);

}  // namespace tevanto
