#pragma once

#include <QAction>
#include <QMenu>
#include <QObject>
#include <QRect>
#include <QSystemTrayIcon>
#include <functional>

#include "app/ui/linux/TrayAvailability.h"

namespace tevanto {

class CompanionModel;

/// TrayIcon is the icon in the desktop's tray, from the moment that there is a tray. It shows whether a phone
/// is connected; a click opens the panel, and its menu offers the most important commands. Main thread.
class TrayIcon {
 public:
  /// `model` outlives it. `clicked` gets the icon's place on the screen, empty where the tray does not report
  /// it.
  TrayIcon(CompanionModel& model, std::function<void(const QRect&)> clicked);
  ~TrayIcon();
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;

  /// Looks for a tray now. The icon appears in a later one without a call.
  void lookForTray() { availability_.lookSoon(); }

 private:
  void appear();
  void fillMenu();
  void show();

  CompanionModel& model_;
  const std::function<void(const QRect&)> clicked_;
  TrayAvailability availability_;
  QObject context_;  // ends the connections with this
  QMenu menu_;
  QAction* disconnect_ = nullptr;
  std::unique_ptr<QSystemTrayIcon> icon_;
  bool showsConnected_ = false;
};

}  // namespace tevanto
