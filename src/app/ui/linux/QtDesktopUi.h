#pragma once

#include <QApplication>
#include <QTranslator>
#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "app/runtime/DesktopUi.h"
#include "app/ui/linux/FontPreparation.h"
#include "app/ui/linux/TokenActivation.h"

class QQuickView;

namespace tevanto {

class CompanionModel;
class CompanionViews;
class PanelWindow;
class QtMainQueue;
class ToolkitMotion;
class TrayIcon;
class ViewEngine;

/// QtDesktopUi is the desktop UI on Linux: Qt's application and loop, the setup window, the panel and the
/// icon in the tray.
class QtDesktopUi final : public DesktopUi {
 public:
  QtDesktopUi();
  ~QtDesktopUi() override;

  std::shared_ptr<SerialQueue> mainQueue() override;
  void present(UiModelSources sources) override;
  void useActivationToken(const std::string& token) override { activation_.useToken(token); }
  void run() override;
  void stop() override;

  std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                          std::function<void()> onClose) override;
  /// On these desktops a program has as many entries in the taskbar as it has windows there: the setup
  /// window's comes and goes with it, and the panel has none.
  void setActivationPolicy(ActivationPolicy) override {}
  /// Windows are brought forward one by one, each with the proof that it was asked for.
  void activateIgnoringOtherApps() override {}

 private:
  struct Arguments;

  void installTranslation();
  static void exitedFromWithin();
  /// Shows the icons of tray and window. Not needed before the first window is visible.
  void showIcons();
  void endWindows();

  const std::unique_ptr<Arguments> arguments_;
  FontPreparation fonts_;
  QApplication application_;
  QTranslator translator_;
  const std::shared_ptr<QtMainQueue> queue_;
  TokenActivation activation_;
  std::optional<UiModelSources> sources_;
  std::unique_ptr<ViewEngine> engine_;  // until the views have it
  std::unique_ptr<CompanionModel> model_;
  std::unique_ptr<CompanionViews> views_;
  std::unique_ptr<ToolkitMotion> motion_;
  std::unique_ptr<QQuickView> setupView_;
  std::unique_ptr<PanelWindow> panel_;
  std::unique_ptr<TrayIcon> tray_;
  bool showsIcons_ = false;
  std::atomic<bool> stopping_ = false;
};

}  // namespace tevanto
