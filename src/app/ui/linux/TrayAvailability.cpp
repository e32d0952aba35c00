#include "app/ui/linux/TrayAvailability.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QTimer>
#include <string>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";
constexpr auto kWatcherPath = "/StatusNotifierWatcher";

/// Panels that have both kinds of tray bring them up one after the other.
constexpr int kBetweenTrays = 1500;  // milliseconds

/// A watcher alone shows nothing: there must be a host, which draws the icons.
bool hasStatusNotifierHost() {
  const auto bus = QDBusConnection::sessionBus();
  if (!bus.isConnected() || !bus.interface()->isServiceRegistered(kWatcher)) return false;
  QDBusInterface watcher(kWatcher, kWatcherPath, kWatcher, bus);
  return watcher.property("IsStatusNotifierHostRegistered").toBool();
}

xcb_connection_t* xConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 ? x11->connection() : nullptr;
}

/// The tray of a screen owns this selection (freedesktop.org System Tray Protocol); Qt knows the first
/// screen's.
bool hasXembedTray() {
  auto* connection = xConnection();
  if (!connection) return false;
  const auto cookie = xcb_get_selection_owner(connection, atomNamed("_NET_SYSTEM_TRAY_S0", connection));
  const XcbOwned<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(connection, cookie, nullptr));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace

/// Looks again whenever somebody who might be a tray comes up.
class TrayAvailability::Core final : public QObject, public QAbstractNativeEventFilter {
 public:
  explicit Core(std::function<void(Kind)> found)
      : found_(std::move(found)),
        services_(kWatcher, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForRegistration) {
    connect(&services_, &QDBusServiceWatcher::serviceRegistered, this, [this] { lookSoon(); });
    // Without moc there is no slot that D-Bus could call by name: a timer's is borrowed.
    connect(&soon_, &QTimer::timeout, this, [this] { look(); });
    soon_.setSingleShot(true);
    QDBusConnection::sessionBus().connect(kWatcher, kWatcherPath, kWatcher, "StatusNotifierHostRegistered",
                                          &soon_, SLOT(start()));
    if (auto* connection = xConnection()) {
      managerAtom_ = atomNamed("MANAGER", connection);
      qGuiApp->installNativeEventFilter(this);
    }
  }
  ~Core() override { qGuiApp->removeNativeEventFilter(this); }

  void lookSoon() { soon_.start(0); }

 private:
  bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) return false;
    if (reinterpret_cast<const xcb_client_message_event_t*>(event)->type == managerAtom_) lookSoon();
    return false;
  }

  void look() {
    const auto kind = current();
    // The other kind can do more, and Qt stays with the first that it meets.
    const bool mayBetterCome = kind == Kind::xembed && !std::exchange(hasWaited_, kind == Kind::xembed);
    if (kind == Kind::none) hasWaited_ = false;
    if (mayBetterCome) return soon_.start(kBetweenTrays);
    if (kind == Kind::none || !found_) return;
    std::exchange(found_, nullptr)(kind);
  }

  std::function<void(Kind)> found_;
  QDBusServiceWatcher services_;
  QTimer soon_;
  bool hasWaited_ = false;  // since there is only an XEmbed tray
  xcb_atom_t managerAtom_ = XCB_ATOM_NONE;
};

TrayAvailability::TrayAvailability() = default;
TrayAvailability::~TrayAvailability() = default;

TrayAvailability::Kind TrayAvailability::current() {
  if (hasStatusNotifierHost()) return Kind::statusNotifier;
  return hasXembedTray() ? Kind::xembed : Kind::none;
}

void TrayAvailability::await(std::function<void(Kind)> found) {
  core_ = std::make_unique<Core>(std::move(found));
}

void TrayAvailability::lookSoon() {
  if (core_) core_->lookSoon();
}

}  // namespace tevanto
