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

/// The services of the companion on a Linux desktop, and everything below them. Making this starts nothing
/// and talks to nobody: adapters connect when they are first used, so that nothing delays the start.
///
/// Headless, the network's loop is run by the main thread and has the main queue "main" as well: a command
/// goes from its socket to the pointer without changing threads. With windows the main queue is that of their
/// toolkit's loop, and the network's loop has a thread of its own, so that neither a view nor a frame waits
/// for the other.
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
  /// Ends the threads of the background, once the services have stopped.
  void endBackgroundWork();
  /// For a program that ends, once the services have stopped and while both loops still run: returns when
  /// what the road away had to tell a phone is on its way. Not on a thread of a loop.
  void releasePeers();
  std::shared_ptr<SerialQueue> mainQueue();
  std::shared_ptr<SerialQueue> networkQueue();

  /// How the runtime makes its services from what is here.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  std::optional<std::string> computerName() const;
  /// Whether the road away was made.
  bool hasRoad() const;
  /// From here on the services of the system are asked too, which may take their time.
  void started();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tevanto
