#include "app/cli/CompanionTerminal.h"

#include <chrono>
#include <utility>

#include "app/runtime/TevantoMacRuntime.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {
namespace {

/// The first panel waits this long for the services to settle, so that it does not say "starting".
constexpr auto kSettling = std::chrono::milliseconds(1500);

bool hasSettled(const CompanionStatus& status) {
  return status.remotePort != 0 && status.discovery.state != AdvertisingState::pending;
}

std::string timeOfDay() {
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[16];
  return {text, std::strftime(text, sizeof(text), "%H:%M:%S", &local)};
}

}  // namespace

class CompanionTerminal::Panel final : public SetupWindow {
 public:
  Panel(CompanionTerminal& terminal, std::function<void()> onClose)
      : terminal_(terminal), onClose_(std::move(onClose)) {}
  void center() override {}
  void orderFrontAsKey() override {
    terminal_.showPanel();
    onClose_();
  }

 private:
  CompanionTerminal& terminal_;
  const std::function<void()> onClose_;
};

CompanionTerminal::CompanionTerminal(Environment environment) : environment_(std::move(environment)) {}
CompanionTerminal::~CompanionTerminal() = default;

void CompanionTerminal::follow(TevantoMacRuntime& runtime) {
  const auto observe = [this](auto& published) {
    subscriptions_.push_back(published.observe([this](const auto&) { changed(); }));
  };
  observe(runtime.server().pairingCode);
  observe(runtime.server().statusText);
  observe(runtime.server().isAccessibilityTrusted);
  observe(runtime.server().port);
  observe(runtime.server().advertising);
  observe(runtime.power().statusText);
  observe(runtime.launchAtLogin().statusText);
}

void CompanionTerminal::stopFollowing() {
  subscriptions_.clear();
  timeout_.cancel();
}

std::unique_ptr<SetupWindow> CompanionTerminal::makeWindow(const SetupWindowStyle&,
                                                           std::function<void()> onClose) {
  return std::make_unique<Panel>(*this, std::move(onClose));
}

void CompanionTerminal::showPanel() {
  if (panelPrinted_ || hasSettled(environment_.status())) return printPanel();
  timeout_ = environment_.mainQueue->asyncAfter(kSettling, [this] { printPanel(); });
}

void CompanionTerminal::printPanel() {
  timeout_.cancel();
  panelPrinted_ = true;
  shown_ = environment_.status();
  environment_.print(companionPanel(shown_, environment_.phoneProgram, environment_.style));
}

void CompanionTerminal::changed() {
  const auto now = environment_.status();
  if (!panelPrinted_) {
    if (timeout_ && hasSettled(now)) printPanel();
    return;
  }
  const auto* indent = environment_.style.picture ? "  " : "";
  for (const auto& line : changesBetween(shown_, now)) {
    environment_.print(indent + timeOfDay() + "  " + line + "\n");
  }
  shown_ = now;
}

}  // namespace tevanto
