#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/runtime/TevantoMacRuntime.h"
#include "core/Log.h"
#include "core/queue/EventLoop.h"
#include "core/queue/Published.h"
#include "core/queue/SerialQueue.h"
#include "remote/AwayAccess.h"

namespace tevanto {

class AccessPolicy;
class AccessibilityPermission;
class ApplicationPresence;
class DeployedTransports;
class DisplayCapture;
class EncoderSessionFactory;
class InputEvents;
class LoginItem;
class PowerSources;
class ScreenCapturePermission;
class ScriptHost;
class ServiceAdvertiser;
class SetupWindowHost;
class SleepAssertions;
class TcpListenerFactory;
class UserDefaults;
class UserPreferences;
class Workspace;

/// CompanionServices makes the companion's services over the adapters of a system, and the queues that they
/// run on.
///
/// Three loops carry the queues:
///   network      tevanto.remote.server, tevanto.screen.server
///   background   tevanto.shortcuts, tevanto.applications: work that may block
///   capture      tevanto.screen.capture: encoding needs a thread of its own
class CompanionServices {
 public:
  /// Loops holds the event loops that carry the queues.
  struct Loops {
    std::shared_ptr<EventLoop> network;
    std::shared_ptr<EventLoop> background = EventLoop::background(2);
    std::shared_ptr<EventLoop> capture = EventLoop::background(1);
  };
  /// Queues holds the serial queues of the services.
  struct Queues {
    Queues(const Loops& loops, std::shared_ptr<SerialQueue> mainQueue);

    const std::shared_ptr<SerialQueue> main;
    const std::shared_ptr<SerialQueue> remote;
    const std::shared_ptr<SerialQueue> screen;
    const std::shared_ptr<SerialQueue> capture;
    const std::shared_ptr<SerialQueue> shortcuts;
    const std::shared_ptr<SerialQueue> applications;
  };
  /// System holds the adapters of the system. All of them outlive the services.
  struct System {
    InputEvents& pointerEvents;
    InputEvents& keyEvents;
    UserPreferences& preferences;
    Workspace& workspace;
    ScriptHost& scripts;
    AccessibilityPermission& accessibility;
    SleepAssertions& sleepAssertions;
    PowerSources& powerSources;
    LoginItem& loginItem;
    DisplayCapture& displays;
    EncoderSessionFactory& encoders;
    ScreenCapturePermission& screenPermission;
    TcpListenerFactory& listeners;
    ServiceAdvertiser& advertiser;
    std::shared_ptr<SerialQueue> displayQueue;  // for questions to the display, which may block
    std::function<std::string()> usedEncoder;   // the encoder of the last session, without looking for one
    /// Makes the transports of the away connection; null when none was deployed.
    std::function<std::unique_ptr<DeployedTransports>()> makeTransports;
    /// Called on the main queue when mirroring begins and when it ends. May be empty.
    std::function<void(bool isStreaming)> onStreaming = {};
  };
  /// Options holds the values that the command line replaces; absent: the usual ones.
  struct Options {
    std::optional<std::string> computerName;
    std::optional<std::uint16_t> remotePort;
    std::optional<std::uint16_t> screenPort;
  };

  CompanionServices(const Queues& queues, System system, Options options, UserDefaults& defaults,
                    std::shared_ptr<LogSink> log);
  ~CompanionServices();
  CompanionServices(const CompanionServices&) = delete;
  CompanionServices& operator=(const CompanionServices&) = delete;

  /// The factories with which the runtime makes its services. This outlives the runtime.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  /// True once the transports of the away connection were made.
  bool hasAwayAccess() const { return transports_ != nullptr; }

 private:
  std::shared_ptr<MacRemoteServer> makeServer();
  std::shared_ptr<ScreenService> makeScreen();
  /// The transports of the away connection; null when none was deployed. Makes them on first use, since that
  /// takes time that the start must not wait for. Main queue.
  DeployedTransports* transports();
  Answerer makeAnswerer(const std::string& room);

  const Queues& queues_;
  const System system_;
  const Options options_;
  UserDefaults& defaults_;
  const std::shared_ptr<LogSink> log_;
  const Logger loginItemLog_;
  const std::shared_ptr<AccessPolicy> access_;
  std::unique_ptr<DeployedTransports> transports_;
  Subscription streaming_;
};

}  // namespace tevanto
