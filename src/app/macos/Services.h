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

/// The services of the companion on a Mac, and everything below them. Making this starts nothing.
///
/// The main queue is the caller's: the main thread runs it with the loop of AppKit, or alone where there is
/// no window. The network has a thread of its own.
class Services {
 public:
  Services(const CompanionOptions& options, UserDefaults& defaults, std::shared_ptr<LogSink> log,
           std::shared_ptr<SerialQueue> mainQueue);
  ~Services();
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  /// How the runtime makes its services from what is here.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  EventLoop& networkLoop();
  std::shared_ptr<SerialQueue> networkQueue();
  /// Ends the threads, once the services have stopped.
  void endThreads();
  std::optional<std::string> computerName() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tevanto
