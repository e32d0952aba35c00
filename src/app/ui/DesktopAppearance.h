#pragma once

#include <QtQml/qqmlregistration.h>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

namespace tevanto {

/// How the desktop wants to be looked at: dark or light, with motion or without. From the settings portal of
/// the session bus, and where that knows nothing, from Qt's palette. Follows changes.
class DesktopAppearance : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed FINAL)
  Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed FINAL)
  Q_PROPERTY(bool isRightToLeft READ isRightToLeft NOTIFY changed FINAL)
  Q_PROPERTY(QString monospacedFamily READ monospacedFamily CONSTANT FINAL)

 public:
  /// As the session bus says.
  explicit DesktopAppearance(QObject* parent = nullptr);
  explicit DesktopAppearance(const QDBusConnection& bus, QObject* parent = nullptr);

  bool isDark() const { return isDark_; }
  bool isMotionReduced() const { return isMotionReduced_; }
  /// Whether the interface runs from right to left. Here because the first look at `Qt.RightToLeft` in QML
  /// has the engine take in all of Qt's enumerations, which takes a tenth of a start.
  bool isRightToLeft() const;
  QString monospacedFamily() const;

  /// Takes the place of what the desktop says.
  void setDark(bool dark);
  void setMotionReduced(bool reduced);

 Q_SIGNALS:
  void changed();

 private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  /// Asks for everything and follows what changes.
  void readPortal();
  void take(const QString& group, const QString& key, const QVariant& value);

  QDBusConnection bus_;
  bool isDark_;
  bool isMotionReduced_ = false;
};

}  // namespace tevanto
