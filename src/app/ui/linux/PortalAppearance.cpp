#include "app/ui/linux/PortalAppearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <memory>

#include "app/ui/DesktopAppearance.h"

namespace tevanto {
namespace {

constexpr auto* kService = "org.freedesktop.portal.Desktop";
constexpr auto* kPath = "/org/freedesktop/portal/desktop";
constexpr auto* kSettings = "org.freedesktop.portal.Settings";
constexpr auto* kAppearance = "org.freedesktop.appearance";
constexpr auto* kGnome = "org.gnome.desktop.interface";
constexpr auto* kKde = "org.kde.kdeglobals.KDE";

/// How long the first frame may wait for a portal that runs already: without it, a dark desktop would see a
/// light window flash up.
constexpr int kTimeout = 100;  // milliseconds

constexpr uint kPreferDark = 1;
constexpr uint kPreferLight = 2;

/// group -> key -> value
using Settings = QMap<QString, QVariantMap>;

QDBusMessage readAll() {
  auto call = QDBusMessage::createMethodCall(kService, kPath, kSettings, "ReadAll");
  call << QStringList{kAppearance, kGnome, kKde};
  return call;
}

}  // namespace

PortalAppearance::PortalAppearance(DesktopAppearance& appearance, const QDBusConnection& bus)
    : appearance_(appearance), bus_(bus) {
  readPortal();
}

void PortalAppearance::readPortal() {
  if (!bus_.isConnected()) return;
  // Qt looks the slot's types up by their names and refuses the connection where it has not met one yet.
  qRegisterMetaType<QDBusVariant>();
  bus_.connect(kService, kPath, kSettings, "SettingChanged", this,
               SLOT(settingChanged(QString, QString, QDBusVariant)));
  const auto takeAll = [this](const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
    const auto settings = qdbus_cast<Settings>(reply.arguments().constFirst());
    for (auto group = settings.begin(); group != settings.end(); ++group) {
      for (auto entry = group->begin(); entry != group->end(); ++entry)
        handleSetting(group.key(), entry.key(), entry.value());
    }
    return true;
  };
  auto atOnce = readAll();
  atOnce.setAutoStartService(false);
  if (takeAll(bus_.call(atOnce, QDBus::Block, kTimeout))) return;
  auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(readAll()), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [answer, takeAll] {
    takeAll(answer->reply());
    answer->deleteLater();
  });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  handleSetting(group, key, value.variant());
}

void PortalAppearance::handleSetting(const QString& group, const QString& key, const QVariant& value) {
  if (group == kAppearance && key == "color-scheme") {
    const auto scheme = value.toUInt();
    appearance_.setDark(scheme == kPreferDark ||
                        (scheme != kPreferLight && DesktopAppearance::isPaletteDark()));
  } else if (group == kAppearance && key == "reduced-motion") {
    appearance_.setMotionReducedByPortal(value.toUInt() == 1);
  } else if (group == kGnome && key == "enable-animations") {
    appearance_.setMotionReducedByPortal(!value.toBool());
  } else if (group == kKde && key == "AnimationDurationFactor") {
    bool isNumber = false;
    const double factor = value.toDouble(&isNumber);
    appearance_.setMotionReducedByPortal(isNumber && factor == 0);
  }
}

std::unique_ptr<QObject> followPortal(DesktopAppearance& appearance) {
  return std::make_unique<PortalAppearance>(appearance, QDBusConnection::sessionBus());
}

}  // namespace tevanto
