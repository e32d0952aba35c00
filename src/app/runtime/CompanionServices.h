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

/// The companion's services and the queues that they run on, over what a system has for them.
///
/// Three loops carry the queues. The network's has "tevanto.remote.server" and "tevanto.screen.server"; that
/// of the background has what may block, "tevanto.shortcuts" and "tevanto.applications"; and
/// "tevanto.screen.capture" has a thread of its own, as it encodes.
class CompanionServices {
 public:
  struct Loops {
    std::shared_ptr<EventLoop> network;
    std::shared_ptr<EventLoop> background = EventLoop::background(2);
    std::shared_ptr<EventLoop> capture = EventLoop::background(1);
  };
  struct Queues {
    Queues(const Loops& loops, std::shared_ptr<SerialQueue> mainQueue);

    const std::shared_ptr<SerialQueue> main;
    const std::shared_ptr<SerialQueue> remote;
    const std::shared_ptr<SerialQueue> screen;
    const std::shared_ptr<SerialQueue> capture;
    const std::shared_ptr<SerialQueue> shortcuts;
    const std::shared_ptr<SerialQueue> applications;
  };
  /// All of it outlives the services.
  struct System {
    InputEvents& inputEvents;
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
    std::shared_ptr<SerialQueue> displayQueue;  // what asks the display may wait
    std::function<std::string()> usedEncoder;   // the encoder of the last session, without looking for one
    /// What the road away stands on; null when none was deployed.
    std::function<std::unique_ptr<DeployedTransports>()> makeTransports;
    /// Told on the main queue when the screen begins and ends to be mirrored. May be empty.
    std::function<void(bool isStreaming)> onStreaming = {};
  };
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

  /// How the runtime makes its services from what is here.
  TevantoMacRuntime::Factories factories(ApplicationPresence& presence, SetupWindowHost& windows);
  /// Whether the road away was made.
  bool hasRoad() const { return transports_ != nullptr; }

 private:
  std::shared_ptr<MacRemoteServer> makeServer();
  std::shared_ptr<ScreenService> makeScreen();
  /// The road away, when one was deployed. What it stands on takes time to make, so that this comes after the
  /// start. Main queue.
  DeployedTransports* transports();
  Answerer makeAnswerer(const std::string& room);

  const Queues& queues_;
  const System system_;
  const Options options_;
  UserDefaults& defaults_;
  const std::shared_ptr<LogSink> log_;
  const Logger loginItemLog_;
  std::unique_ptr<DeployedTransports> transports_;
  Subscription streaming_;
};

}  // namespace tevanto
