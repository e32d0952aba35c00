#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/runtime/MacSetupWindowPresenter.h"
#include "app/runtime/ScreenService.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakeAwayTransport.h"
#include "tests/support/fakes/FakeListenerFactory.h"
#include "tests/support/fakes/FakeLoginItem.h"
#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeServiceAdvertiser.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto::test {

using Steps = std::vector<std::string>;

class RecordingScreen final : public ScreenService {
 public:
  explicit RecordingScreen(std::function<void()> onStart) : onStart_(std::move(onStart)) {}
  void start() override { onStart_(); }
  void stop() override { ++stops; }
  void attach(const std::shared_ptr<ScreenTransport>& transport) override { attached = transport; }
  void detach(const std::shared_ptr<ScreenTransport>&) override { attached.reset(); }
  ScreenServiceState state() const override { return {true, "Mirroring to iPhone", true, "libx264", 4711}; }
  std::shared_ptr<void> observe(std::function<void()>) override { return nullptr; }
  void requestScreenRecording() override {}
  int stops = 0;
  std::weak_ptr<ScreenTransport> attached;

 private:
  const std::function<void()> onStart_;
};

class NotingLoginItem final : public LoginItem {
 public:
  explicit NotingLoginItem(std::function<void()> onStatus) : onStatus_(std::move(onStatus)) {}
  LoginItemStatus status() override {
    onStatus_();
    return LoginItemStatus::notFound;
  }
  Result<void> registerItem() override { return {}; }
  Result<void> unregisterItem() override { return {}; }
  void openSettings() override {}

 private:
  const std::function<void()> onStatus_;
};

/// The desktop, as far as windows and the Dock go.
class RecordingDesktop final : public ApplicationPresence, public SetupWindowHost {
 public:
  void setActivationPolicy(ActivationPolicy policy) override {
    steps.push_back(policy == ActivationPolicy::regular ? "regular" : "accessory");
  }
  void activateIgnoringOtherApps() override { steps.emplace_back("activate"); }
  std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                          std::function<void()> onClose) override {
    steps.emplace_back("make");
    lastStyle = style;
    close = std::move(onClose);
    return std::make_unique<Window>(steps);
  }
  Steps takeSteps() { return std::exchange(steps, {}); }

  Steps steps;
  SetupWindowStyle lastStyle;
  std::function<void()> close;

 private:
  class Window final : public SetupWindow {
   public:
    explicit Window(Steps& steps) : steps_(steps) {}
    void center() override { steps_.emplace_back("center"); }
    void orderFrontAsKey() override { steps_.emplace_back("front"); }

   private:
    Steps& steps_;
  };
};

/// The real services on virtual time, with fakes where they touch the system.
class RuntimeFixture : public testing::Test {
 protected:
  // What is still to be told belongs to queues that the clock belongs to: nobody would free them.
  ~RuntimeFixture() override { main->runPending(); }

  TevantoMacRuntime::Factories factories() {
    return {
        .server = [this] { return made("server", makeServer()); },
        .screen =
            [this] {
              return made("screen", screen = std::make_shared<RecordingScreen>([this] {
                                      main->runPending();  // what the server was told before has happened
                                      note("screen");
                                    }));
            },
        .power =
            [this] { return made("power", std::make_shared<MacPowerManager>(main, assertions, sources)); },
        .launchAtLogin =
            [this] {
              return made("launchAtLogin",
                          std::make_shared<MacLaunchAtLoginController>(main, loginItem, defaults, Logger()));
            },
        .setupWindow =
            [this] {
              return made("setupWindow", std::make_shared<MacSetupWindowPresenter>(desktop, desktop));
            }};
  }

  template <class Service>
  std::shared_ptr<Service> made(const char* name, std::shared_ptr<Service> service) {
    creations.emplace_back(name);
    return service;
  }

  std::shared_ptr<MacRemoteServer> makeServer() {
    return MacRemoteServer::create(
        {.queue = network,
         .mainQueue = main,
         .shortcutQueue = shortcuts,
         .backgroundQueue = background,
         .listeners = listeners,
         .advertiser = advertiser,
         .defaults = defaults,
         .access = std::make_shared<CompatibleAccess>(defaults),
         .computerName = "desk"},
        {.input = std::make_shared<MacInputController>(events, events, preferences, workspace),
         .shortcuts = std::make_shared<MacShortcutRunner>(main, scripts, workspace, events, permission),
         .permission = permission});
  }

  void note(const std::string& step) {
    steps.push_back(step + " with " + std::to_string(listeners.made) + " listeners");
  }

  /// A phone that is connected to the running server.
  std::shared_ptr<FakeTcpPeer> connectPhone() {
    main->runPending();
    auto phone = listeners.last->connect();
    main->runPending();
    return phone;
  }

  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::shared_ptr<ManualQueue> main = std::make_shared<ManualQueue>("main", clock);
  std::shared_ptr<ManualQueue> network = std::make_shared<ManualQueue>("tevanto.remote.server", clock);
  std::shared_ptr<ManualQueue> shortcuts = std::make_shared<ManualQueue>("tevanto.shortcuts", clock);
  std::shared_ptr<ManualQueue> background = std::make_shared<ManualQueue>("tevanto.applications", clock);
  FakeListenerFactory listeners;
  FakeServiceAdvertiser advertiser;
  FakeUserDefaults defaults;
  RecordingInputEvents events;
  FakeUserPreferences preferences;
  FakeWorkspace workspace;
  FakeScriptHost scripts;
  FakeAccessibilityPermission permission;
  FakeSleepAssertions assertions;
  FakePowerSources sources;
  RecordingDesktop desktop;
  std::shared_ptr<RecordingScreen> screen;
  Steps creations;
  Steps steps;
  NotingLoginItem loginItem{[this] {
    main->runPending();
    note("login item");
  }};
};

}  // namespace tevanto::test
