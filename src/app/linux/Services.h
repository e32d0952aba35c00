#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/cli/CommandLine.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "core/Log.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

class AccessibilityPermission;
class ApplicationPresence;
class SetupWindowHost;
class UserDefaults;

/// Services owns the services of the companion on a Linux desktop, and the adapters below them. Only input
/// connects, to the display server, when this is made. Every other adapter connects when it is first used, so
/// that nothing else delays the start.
///
/// Headless, the main thread runs the network's loop, which carries the main queue "main" too: a command goes
/// from its socket to the pointer without changing threads. With windows, the main queue is that of their
/// toolkit's loop, and the network's loop has a thread of its own, so that views and frames do not wait for
/// each other.
class Services {
 public:
  /// `windowsQueue`: the main queue of a program with windows; null when headless.
  Services(const CompanionOptions& options, UserDefaults& defaults, const std::shared_ptr<LogSink>& log,
           const std::shared_ptr<SerialQueue>& windowsQueue);
  ~Services();
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  /// The caller runs it when headless, and stops it.
  EventLoop& networkLoop();
  /// Stops the threads of the background, once the services have stopped.
  void stopBackgroundWork();
  /// For a program that ends, once the services have stopped and while both loops still run. Returns when the
  /// last messages to a phone outside the local network are sent. Not on a thread of a loop.
  void releasePeers();
  std::shared_ptr<SerialQueue> mainQueue();
  std::shared_ptr<SerialQueue> networkQueue();

  /// Returns the functions by which the runtime makes its services.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  std::optional<std::string> computerName() const;
  /// Returns true once connections outside the local network were prepared.
  bool hasAwayAccess() const;
  /// From here on the services of the system are asked too, which may take their time.
  void started();

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
