#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QVariantList>

#include <memory>

#include "app/ui/CompanionModel.h"
#include "tests/app/ui/UiWorld.h"

namespace tevanto::test {

/// The real services as a test in QML arranges them; `companion` is the model of its views. Whatever is told
/// is shown when the call returns.
class QuickWorld : public QObject {
  Q_OBJECT
  Q_PROPERTY(tevanto::CompanionModel* companion READ companion NOTIFY companionChanged FINAL)
  Q_PROPERTY(QStringList calls READ calls NOTIFY companionChanged FINAL)

 public:
  explicit QuickWorld(QQmlEngine& engine);

  CompanionModel* companion();
  /// What the application and the desktop were asked for.
  QStringList calls() const;

  /// Before each test: a new world, with motion.
  Q_INVOKABLE void reset();
  Q_INVOKABLE void run();
  Q_INVOKABLE void reduceMotion(bool reduced);
  Q_INVOKABLE void setPairingCode(const QString& code);
  Q_INVOKABLE void grant(bool accessibility, bool screenRecording);
  /// How often each of the two was asked for.
  Q_INVOKABLE QVariantList requests() const;
  /// -1: none.
  Q_INVOKABLE void setBattery(int percent);
  Q_INVOKABLE void connectPhone();
  Q_INVOKABLE void losePhone();
  Q_INVOKABLE void storeGuide();
  Q_INVOKABLE bool hasStoredGuide() const;

 Q_SIGNALS:
  void companionChanged();

 private:
  QQmlEngine& engine_;
  std::unique_ptr<UiWorld> world_ = std::make_unique<UiWorld>();
  /// The last one goes when the views have left it.
  std::unique_ptr<UiWorld> former_;
  std::shared_ptr<FakeTcpPeer> phone_;
};

}  // namespace tevanto::test
