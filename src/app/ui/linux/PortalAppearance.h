#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>
#include <memory>

namespace tevanto {

class DesktopAppearance;

/// What the settings portal of a bus says of the desktop's looks; where it says nothing, Qt's palette holds.
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
  void take(const QString& group, const QString& key, const QVariant& value);

  DesktopAppearance& appearance_;
  QDBusConnection bus_;
};

/// A follower of the session bus's portal.
std::unique_ptr<QObject> followPortal(DesktopAppearance& appearance);

}  // namespace tevanto
