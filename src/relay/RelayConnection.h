#pragma once

#include <memory>
#include <optional>
#include <string>

#include "relay/AddressCounts.h"
#include "relay/ClientAddress.h"
#include "relay/HttpAnswer.h"
#include "relay/OutgoingMessages.h"
#include "relay/RelayContext.h"
#include "relay/RelayMember.h"
#include "relay/RelayTarget.h"
#include "relay/RelayTypes.h"

namespace tevanto::relay {

/// RelayConnection is the state machine of one connection, whatever carries its bytes:
///
///   request --> answering --> ended
///      |                        ^
///      +--> upgrading --> member --> closing or leaving
///
/// Every phase but `member` has a deadline; a member's time is that of its next ping. Lives on the relay's
/// only thread; asynchronous work of the transport keeps it alive.
class RelayConnection : public RelayMember {
 public:
  enum class SocketEnd { orderly, reset };

  RelayConnection(std::shared_ptr<RelayContext> context, const IpAddress& peer);
  ~RelayConnection() override;

  /// False when the address has so many connections that this one is not even told so.
  bool admit();
  /// Reads the request; the time for that begins now.
  void begin();
  /// The relay ends: a member is told, an answer on its way is finished, the rest is dropped.
  void goAway();
  /// Ends without a word.
  void closeNow() { closeNow(SocketEnd::orderly); }

  void deliver(RelayMessage message) final;
  void ping() final;
  void close(CloseReason reason) final;

 protected:
  // The transport of the bytes. Each call ends in one of the calls below, unless the socket is closed
  // before.
  virtual void readRequest() = 0;
  virtual void writeAnswer(HttpAnswer answer) = 0;
  virtual void acceptUpgrade() = 0;
  virtual void readMessage() = 0;
  virtual void writeMessage(const RelayMessage& message) = 0;
  virtual void writePing() = 0;
  virtual void writeClose(CloseCode code) = 0;
  virtual void closeSocket(SocketEnd end) = 0;

  void handleRequest(const RelayRequest& request);
  void handleBadRequest();
  void upgraded(bool succeeded);
  void handleMessage(RelayMessage message);
  void handleControlFrame();
  /// The member leaves; the transport answers its close frame, and reports the end of the stream.
  void handleCloseFrame();
  void messageWritten(bool succeeded);
  /// The stream ended, in order or not.
  void readFailed();
  /// The answer or the close frame has been sent, and the other side has taken it or is gone.
  void finished() { closeNow(SocketEnd::orderly); }

 private:
  enum class Phase : unsigned char { request, answering, upgrading, member, closing, leaving, ended };

  void due(TimerWheel::TimePoint now) final;
  void enterPhase(Phase phase, std::chrono::milliseconds deadline);
  void countClient(const IpAddress& client);
  void answer(HttpAnswer answer);
  std::optional<CloseReason> refusal(const RelayTarget& target) const;
  void closeNow(SocketEnd end);

  const std::shared_ptr<RelayContext> context_;
  const IpAddress peer_;
  AddressCounts::Place place_;
  AddressCounts::Place refused_;  // set instead when the address has too many
  std::unique_ptr<RelayTarget> target_;
  OutgoingMessages outgoing_;
  Phase phase_ = Phase::request;
};

}  // namespace tevanto::relay
