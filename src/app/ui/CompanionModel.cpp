#include "app/ui/CompanionModel.h"

#include <utility>

#include "app/ui/StatusTexts.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "core/settings/UserDefaults.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {
namespace {

constexpr int kNoBattery = -1;

/// An operation that nobody carries out does nothing.
template <class Operation, class... Arguments>
void perform(const Operation& operation, Arguments&&... arguments) {
  if (operation) operation(std::forward<Arguments>(arguments)...);
}

}  // namespace

CompanionModel::CompanionModel(Services services, UiActions operations, PublicLinks links)
    : services_(services),
      operations_(std::move(operations)),
      links_(std::move(links)),
      screenState_(services.screen.state()) {
  follow(services_.server.pairingCode, &CompanionModel::serverChanged);
  follow(services_.server.statusText, &CompanionModel::serverChanged);
  follow(services_.server.isClientConnected, &CompanionModel::serverChanged);
  follow(services_.server.isAccessibilityTrusted, &CompanionModel::serverChanged);
  subscriptions_.push_back(services_.screen.observe([this] { readScreen(); }));
  follow(services_.power.isKeepAwakeOn, &CompanionModel::powerChanged);
  follow(services_.power.statusText, &CompanionModel::powerChanged);
  follow(services_.power.batteryPercent, &CompanionModel::powerChanged);
  follow(services_.launchAtLogin.isEnabled, &CompanionModel::launchAtLoginChanged);
  follow(services_.launchAtLogin.statusText, &CompanionModel::launchAtLoginChanged);
}

CompanionModel::~CompanionModel() = default;

template <class T>
void CompanionModel::follow(Published<T>& value, Signal changed) {
  subscriptions_.push_back(value.observe([this, changed](const T&) { Q_EMIT(this->*changed)(); }));
}

void CompanionModel::readScreen() {
  screenState_ = services_.screen.state();
  Q_EMIT screenChanged();
}

QString CompanionModel::pairingCode() const {
  return QString::fromStdString(services_.server.pairingCode.get());
}
QString CompanionModel::statusText() const { return translatedStatus(services_.server.statusText.get()); }
bool CompanionModel::isClientConnected() const { return services_.server.isClientConnected.get(); }
bool CompanionModel::isAccessibilityTrusted() const { return services_.server.isAccessibilityTrusted.get(); }
bool CompanionModel::isScreenRecordingTrusted() const { return screenState_.isScreenRecordingTrusted; }
bool CompanionModel::isMirroring() const { return screenState_.isStreaming; }
QString CompanionModel::screenStatusText() const { return translatedStatus(screenState_.statusText); }
bool CompanionModel::isKeepAwakeOn() const { return services_.power.isKeepAwakeOn.get(); }
QString CompanionModel::keepAwakeStatusText() const {
  return translatedStatus(services_.power.statusText.get());
}
int CompanionModel::batteryPercent() const {
  return services_.power.batteryPercent.get().value_or(kNoBattery);
}
bool CompanionModel::isLaunchAtLoginOn() const { return services_.launchAtLogin.isEnabled.get(); }
QString CompanionModel::launchAtLoginStatusText() const {
  return translatedStatus(services_.launchAtLogin.statusText.get());
}
bool CompanionModel::hasCompletedGuide() const {
  return completedGuideInSession_ || services_.defaults.boolean(kGuideKey);
}
QString CompanionModel::appStoreURL() const { return QString::fromStdString(links_.appStore); }

void CompanionModel::copyCode() { perform(operations_.copyText, services_.server.pairingCode.get()); }
void CompanionModel::openAccessibilitySettings() { perform(operations_.requestAccessibility); }
void CompanionModel::openScreenRecordingSettings() { perform(operations_.requestScreenRecording); }

// The services publish what came of it before they return. Telling the views at once, and also where nothing
// has changed, puts a switch back that was refused.
void CompanionModel::setKeepAwake(bool on) {
  perform(operations_.setKeepAwake, on);
  Q_EMIT powerChanged();
}
void CompanionModel::setLaunchAtLogin(bool on) {
  perform(operations_.setLaunchAtLogin, on);
  Q_EMIT launchAtLoginChanged();
}

void CompanionModel::openSetupWindow() { perform(operations_.openSetupWindow); }
void CompanionModel::disconnectPhone() { perform(operations_.disconnectPhone); }
void CompanionModel::quit() { perform(operations_.quit); }

void CompanionModel::completeGuide() {
  // When it cannot be stored, the guide appears again at the next start. This session goes on.
  const auto stored = services_.defaults.set(kGuideKey, true);
  static_cast<void>(stored);
  completedGuideInSession_ = true;
  Q_EMIT guideChanged();
}

void CompanionModel::copyLink() { perform(operations_.copyText, links_.appStore); }
void CompanionModel::openWebsite() { perform(operations_.openUrl, links_.website); }
void CompanionModel::openSupport() { perform(operations_.openUrl, links_.support); }
void CompanionModel::openPrivacy() { perform(operations_.openUrl, links_.privacy); }
void CompanionModel::openTerms() { perform(operations_.openUrl, links_.terms); }
void CompanionModel::refresh() { perform(operations_.refresh); }

}  // namespace tevanto
