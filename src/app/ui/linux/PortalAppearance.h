#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>
#include <memory>

namespace tevanto {

class DesktopAppearance;

/// PortalAppearance sets the desktop's looks by the settings portal of a bus. Qt's palette holds where the
/// portal has no value. Main thread.
class PortalAppearance final : public QObject {
  Q_OBJECT

 public:
  /// `appearance` outlives it.
  PortalAppearance(DesktopAppearance& appearance, const QDBusConnection& bus);

 private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  /// Asks for everything and follows what changes.
  void readPortal();
  void handleSetting(const QString& group, const QString& key, const QVariant& value);

  DesktopAppearance& appearance_;
  QDBusConnection bus_;
};

/// Makes a follower of the session bus's portal.
std::unique_ptr<QObject> followPortal(DesktopAppearance& appearance);

}  // namespace tevanto
