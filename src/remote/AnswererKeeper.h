#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "core/queue/QueueBound.h"
#include "remote/AwayAccess.h"

namespace tevanto {

/// AnswererKeeper keeps one answerer waiting for the phone. It attaches each answerer to the screen, and
/// makes another one some time after the last one has failed.
///
///     none --start--> waiting --ready--> ready <--interrupted, ready--> interrupted
///      ^                 |                 |                                 |
///      |                 +---- failed -----+------------- failed ------------+
///      |                              |
///      +-- 1.5, 3, 6, 12, 24, 30, 30 … seconds; 1.5 again after a ready --+
///
/// Between two answerers it holds only a timer. An answerer that has waited too long is replaced at once.
/// Main queue only.
class AnswererKeeper final : public QueueBound<AnswererKeeper> {
 public:
  static constexpr std::chrono::milliseconds kFirstRestartDelay{1500};
  static constexpr std::chrono::milliseconds kLongestRestartDelay{30'000};

  /// Called on the main queue.
  struct Callbacks {
    /// No call for a channel follows its `failed`.
    std::function<void(const std::shared_ptr<MessageChannel>& channel, ChannelState state)> onChannelState;
    std::function<void(RemoteMessage message)> onMessage;
  };

  AnswererKeeper(std::shared_ptr<SerialQueue> mainQueue, AnswererFactory makeAnswerer, Callbacks callbacks);

  /// `screen` receives the screen's transport of each answerer. It is not kept alive.
  void setScreen(std::weak_ptr<ScreenTransportHost> screen) { screen_ = std::move(screen); }
  /// Makes an answerer that waits in `room`, unless there is one.
  void start(const std::string& room);
  /// Ends `channel`, if it is the answerer's, as if it had failed.
  void close(const std::shared_ptr<MessageChannel>& channel);
  /// Ends the answerer and makes no other; nobody is told. May be called twice.
  void stop();

 private:
  void listenTo(const std::shared_ptr<MessageChannel>& channel);
  void replaceWhenAged(const Answerer& answerer);
  void channelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state);
  void failed();
  void closeAnswerer();
  void restartLater();

  const AnswererFactory makeAnswerer_;
  const Callbacks callbacks_;
  std::weak_ptr<ScreenTransportHost> screen_;
  std::string room_;
  Answerer webRTCAnswerer_;  // without a channel: none
  std::chrono::milliseconds webRTCRestartDelay_ = kFirstRestartDelay;
  Timer restart_;
};

}  // namespace tevanto
