#include "tests/app/ui/QuickWorld.h"

#include "app/ui/DesktopAppearance.h"
#include "remote/MacRemoteServer.h"

namespace tevanto::test {

QuickWorld::QuickWorld(QQmlEngine& engine) : engine_(engine) {}

CompanionModel* QuickWorld::companion() {
  auto& model = world_->model();
  QQmlEngine::setObjectOwnership(&model, QQmlEngine::CppOwnership);
  return &model;
}

QStringList QuickWorld::calls() const {
  QStringList all;
  for (const auto& call : world_->calls) all << QString::fromStdString(call);
  return all;
}

void QuickWorld::reset() {
  phone_.reset();
  former_ = std::move(world_);
  world_ = std::make_unique<UiWorld>();
  reduceMotion(false);
  Q_EMIT companionChanged();
  former_.reset();
}

void QuickWorld::run() { world_->run(); }

void QuickWorld::reduceMotion(bool reduced) {
  const int type = qmlTypeId("Tevanto", 1, 0, "DesktopAppearance");
  engine_.singletonInstance<DesktopAppearance*>(type)->setMotionReduced(reduced);
}

void QuickWorld::setPairingCode(const QString& code) {
  world_->runtime().server().pairingCode.set(code.toStdString());
  run();
}

void QuickWorld::grant(bool accessibility, bool screenRecording) {
  world_->accessibility.trusted = accessibility;
  world_->screenRecording.granted = screenRecording;
}

QVariantList QuickWorld::requests() const {
  return QVariantList() << world_->accessibility.requests.load() << world_->screenRecording.requests;
}

void QuickWorld::setBattery(int percent) {
  if (percent >= 0) world_->sources.setBattery(percent, PowerSources::kBatteryPower);
}

void QuickWorld::connectPhone() { phone_ = world_->connectPhone(); }

void QuickWorld::losePhone() {
  phone_->fail();
  run();
}

void QuickWorld::storeGuide() { (void)world_->defaults.set(CompanionModel::kGuideKey, true); }

bool QuickWorld::hasStoredGuide() const { return world_->defaults.boolean(CompanionModel::kGuideKey); }

}  // namespace tevanto::test
