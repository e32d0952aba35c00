#pragma once

#include <memory>

class QQuickView;

namespace tevanto {

class CompanionModel;
class DesktopAppearance;
class ViewEngine;

/// Makes the windows' contents: the panel and the setup view. A view shows
/// the model's state for as long as it lives, shown or not; who wants to save the memory of a closed panel
/// drops its view. Everything lives on the thread of the QGuiApplication.
class CompanionViews {
 public:
  /// `model` outlives this.
  explicit CompanionViews(CompanionModel& model);
  /// With an engine that has been made already.
  CompanionViews(CompanionModel& model, std::unique_ptr<ViewEngine> engine);
  ~CompanionViews();
  CompanionViews(const CompanionViews&) = delete;
  CompanionViews& operator=(const CompanionViews&) = delete;

  /// `MacMenuView` for under the icon: as high as its content, transparent around its rounded frame. The
  /// window is not shown yet and has no flags; Escape and its own commands emit `dismissed` on its root
  /// object.
  std::unique_ptr<QQuickView> makePanel();
  /// `SetupWindowView`, 360 by 520 points, for a window that the desktop decorates. Not shown yet.
  std::unique_ptr<QQuickView> makeSetupWindow();
  /// How the views look at the desktop.
  DesktopAppearance& appearance();

 private:
  std::unique_ptr<QQuickView> makeView(const char* name);

  CompanionModel& model_;
  const std::unique_ptr<ViewEngine> engine_;
};

}  // namespace tevanto
