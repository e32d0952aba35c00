#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/runtime/MacSetupWindowPresenter.h"
#include "app/runtime/SetupWindow.h"
#include "app/runtime/StreamScreenService.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "app/runtime/UiActions.h"
#include "app/ui/CompanionModel.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/settings/DeviceIdentity.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "screen/ScreenStreamServer.h"
#include "screen/wire/ScreenStreamHello.h"
#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakeDisplayCapture.h"
#include "tests/support/fakes/FakeEncoderSession.h"
#include "tests/support/fakes/FakeListenerFactory.h"
#include "tests/support/fakes/FakeLoginItem.h"
#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeScreenPermission.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeServiceAdvertiser.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingInputEvents.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// The real services, with fakes where they touch the system, and the model over them. Time is virtual; `run`
/// lets everything happen that is due.
class UiWorld {
 public:
  static constexpr auto* kToken = "01234567-89AB-CDEF-0123-456789ABCDEF";

  UiWorld() {
    (void)defaults.set(kDeviceIDKey, std::string("DEVICE"));
    encoders.answers = true;
  }
  ~UiWorld() {
    model_.reset();
    if (runtime_) runtime_->willTerminate();
    run();
    runtime_.reset();
    run();
  }
  UiWorld(const UiWorld&) = delete;
  UiWorld& operator=(const UiWorld&) = delete;

  /// The runtime is made and started, and the model over it, when first asked for: fakes that are set up
  /// before are what the services meet.
  TevantoMacRuntime& runtime() {
    if (!runtime_) {
      runtime_ = std::make_unique<TevantoMacRuntime>(factories());
      runtime_->start();
      run();
    }
    return *runtime_;
  }
  CompanionModel& model() {
    if (!model_) {
      auto operations = UiActions::of(runtime());
      operations.openSetupWindow = [this] { calls.emplace_back("openSetupWindow"); };
      operations.quit = [this] { calls.emplace_back("quit"); };
      operations.openUrl = [this](const std::string& url) { calls.push_back("open " + url); };
      operations.copyText = [this](const std::string& text) { calls.push_back("copy " + text); };
      auto& services = runtime();
      model_ = std::make_unique<CompanionModel>(
          CompanionModel::Services{services.server(), services.screen(), services.power(),
                                   services.launchAtLogin(), defaults},
          std::move(operations), links);
    }
    return *model_;
  }
  void run() { main->runPending(); }

  void storeToken() { (void)defaults.set(kPairingTokenKey, std::string(kToken)); }
  /// A phone that is connected and known.
  std::shared_ptr<FakeTcpPeer> connectPhone() {
    storeToken();
    runtime();
    auto phone = listeners.last->connect();
    run();
    phone->send(R"({"type":"sessionHello","sessionNonce":"n","token":")" + std::string(kToken) + "\"}\n");
    run();
    return phone;
  }
  /// Its screen connection, being shown the screen.
  std::shared_ptr<FakeTcpPeer> mirror() {
    auto viewer = screenListeners.last->connect();
    run();
    viewer->send(frameText(helloMessage({kToken, 1170, 2532, false})));
    run();
    displays.streams.back()->onStarted({});
    run();
    return viewer;
  }

  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::shared_ptr<ManualQueue> main = std::make_shared<ManualQueue>("main", clock);
  FakeListenerFactory listeners;
  FakeListenerFactory screenListeners;
  FakeServiceAdvertiser advertiser;
  FakeUserDefaults defaults;
  RecordingInputEvents events;
  FakeUserPreferences preferences;
  FakeWorkspace workspace;
  FakeScriptHost scripts;
  FakeAccessibilityPermission accessibility;
  FakeScreenPermission screenRecording;
  FakeDisplayCapture displays;
  FakeEncoderSessionFactory encoders;
  FakeSleepAssertions assertions;
  FakePowerSources sources;
  FakeLoginItem loginItem;
  PublicLinks links;
  /// What the application and the desktop were asked for.
  std::vector<std::string> calls;

 private:
  class NoWindows final : public ApplicationPresence, public SetupWindowHost {
   public:
    void setActivationPolicy(ActivationPolicy) override {}
    void activateIgnoringOtherApps() override {}
    std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle&, std::function<void()>) override {
      return nullptr;
    }
  };

  TevantoMacRuntime::Factories factories() {
    return {.server = [this] { return makeServer(); },
            .screen = [this] { return makeScreen(); },
            .power = [this] { return std::make_shared<MacPowerManager>(main, assertions, sources); },
            .launchAtLogin =
                [this] {
                  return std::make_shared<MacLaunchAtLoginController>(main, loginItem, defaults, Logger());
                },
            .setupWindow = [this] { return std::make_shared<MacSetupWindowPresenter>(windows_, windows_); }};
  }
  std::shared_ptr<MacRemoteServer> makeServer() {
    return MacRemoteServer::create(
        {.queue = queueNamed("tevanto.remote.server"),
         .mainQueue = main,
         .shortcutQueue = queueNamed("tevanto.shortcuts"),
         .backgroundQueue = queueNamed("tevanto.applications"),
         .listeners = listeners,
         .advertiser = advertiser,
         .defaults = defaults,
         .access = std::make_shared<CompatibleAccess>(defaults),
         .computerName = "Desk"},
        {.input = std::make_shared<MacInputController>(events, events, preferences, workspace),
         .shortcuts = std::make_shared<MacShortcutRunner>(main, scripts, workspace, events, accessibility),
         .permission = accessibility});
  }
  std::shared_ptr<ScreenService> makeScreen() {
    auto server = ScreenStreamServer::create(
        {.queue = queueNamed("tevanto.screen.server"),
         .captureQueue = queueNamed("tevanto.screen.capture"),
         .mainQueue = main,
         .listeners = screenListeners,
         .advertiser = advertiser,
         .defaults = defaults,
         .mayWatch = [this](const auto& token) { return CompatibleAccess(defaults).allowsScreen(token); },
         .computerName = "Desk"},
        {displays, encoders, screenRecording});
    return std::make_shared<StreamScreenService>(std::move(server), queueNamed("display"),
                                                 [] { return std::string(); });
  }
  std::shared_ptr<ManualQueue> queueNamed(const std::string& label) {
    queues_.push_back(std::make_shared<ManualQueue>(label, clock));
    return queues_.back();
  }

  NoWindows windows_;
  std::vector<std::shared_ptr<ManualQueue>> queues_;
  std::unique_ptr<TevantoMacRuntime> runtime_;
  std::unique_ptr<CompanionModel> model_;
};

}  // namespace tevanto::test
