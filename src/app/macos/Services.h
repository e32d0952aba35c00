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

class ApplicationPresence;
class SetupWindowHost;
class UserDefaults;

/// Services owns the services of the companion on a Mac, and the adapters below them. Making this starts
/// nothing.
///
/// The caller owns the main queue: the main thread runs it with the loop of AppKit, or alone where there is
/// no window. The network has a thread of its own.
class Services {
 public:
  Services(const CompanionOptions& options, UserDefaults& defaults, std::shared_ptr<LogSink> log,
           std::shared_ptr<SerialQueue> mainQueue);
  ~Services();
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  /// Returns the functions by which the runtime makes its services.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  EventLoop& networkLoop();
  std::shared_ptr<SerialQueue> networkQueue();
  /// Stops the threads, once the services have stopped.
  void stopThreads();
  std::optional<std::string> computerName() const;

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
