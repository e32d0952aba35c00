#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "core/queue/SerialQueue.h"
#include "phone/connection/Answer.h"
#include "phone/connection/Inbox.h"
#include "phone/connection/Route.h"
#include "remote/message/MessageChannel.h"
#include "screen/ScreenTransport.h"

namespace tevanto::phone {

/// AwayTransport is a transport to a companion, made but not started.
struct AwayTransport {
  std::shared_ptr<MessageChannel> messages;
  std::shared_ptr<ScreenTransport> screen;
  std::function<void()> start;
  /// True when messages go through a TURN relay; nothing while that is not known.
  std::function<std::optional<bool>()> isRelayed = [] { return std::optional<bool>(); };
  /// True when only records in the cloud lead to the companion.
  std::function<bool()> goesByRecords = [] { return false; };
};

/// AwayChannel is one session with a companion on another network, for a caller that waits on its own thread.
/// Its channels own it; it ends with the last of them.
///
///     dial: transport -- failed, after a pause: the next one -- ... -- ready
class AwayChannel : public std::enable_shared_from_this<AwayChannel> {
 public:
  /// How long after a failure the next attempt begins.
  static constexpr auto kPause = std::chrono::seconds(1);
  /// Timeouts bounds the waits. An attempt has a longest time: without one, two sides that wait for each
  /// other would not end.
  struct Timeouts {
    std::chrono::milliseconds usual = std::chrono::seconds(15);
    /// Where only records in the cloud lead to the companion. It looks every few seconds, and takes an offer
    /// only after it has given up the session before, 15 seconds after that was lost. A phone that gave up at
    /// that moment would never meet it.
    std::chrono::milliseconds byRecords = std::chrono::seconds(45);
    /// How long the end of the session waits for the end of the transport. The companion then hears of it and
    /// does not wait for the connection to come back.
    std::chrono::milliseconds closing = std::chrono::seconds(2);
  };

  /// Environment holds the dependencies of a session.
  struct Environment {
    /// The queue on which the transports call back; not on the caller's own thread.
    std::shared_ptr<SerialQueue> mainQueue;
    std::function<AwayTransport(const std::string& room)> makeTransport;
    Timeouts timeouts = {};
  };

  /// Tries until the companion answers, the time is over or the user gives up.
  static Answer<std::shared_ptr<AwayChannel>> dial(const Environment& environment, const std::string& room,
                                                   std::chrono::milliseconds timeout,
                                                   const GivesUp& givesUp = {});
  ~AwayChannel();
  AwayChannel(const AwayChannel&) = delete;
  AwayChannel& operator=(const AwayChannel&) = delete;

  std::unique_ptr<LineChannel> lines();
  std::unique_ptr<ScreenChannel> screen();
  bool isReady() const;
  std::optional<bool> isRelayed() const { return transport_.isRelayed(); }

 private:
  enum class State { connecting, ready, failed };
  class Lines;
  class Screen;

  AwayChannel(Environment environment, const std::string& room)
      : environment_(std::move(environment)), room_(room) {}
  /// The state at the deadline, or when the user gave up.
  State attempt(std::chrono::steady_clock::time_point deadline, const GivesUp& givesUp);
  std::chrono::steady_clock::duration timeout() const;
  void startTransport();
  void closeTransport();
  void stateDidChange(ChannelState state);

  const Environment environment_;
  const std::string room_;
  AwayTransport transport_;
  Inbox lines_;
  Inbox screen_;
  mutable std::mutex mutex_;  // guards state_
  std::condition_variable changed_;
  State state_ = State::connecting;
};

}  // namespace tevanto::phone
