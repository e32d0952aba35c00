#pragma once

#include <memory>

class QQuickView;

namespace tevanto {

class CompanionModel;
class DesktopAppearance;
class ViewEngine;

/// CompanionViews makes the contents of the windows: the panel and the setup view. A view follows the model
/// for as long as it lives, visible or not; destroying the view of a closed panel saves its memory.
/// Everything lives on the thread of the QGuiApplication.
class CompanionViews {
 public:
  /// `model` outlives this.
  explicit CompanionViews(CompanionModel& model);
  /// Takes an engine that was made earlier.
  CompanionViews(CompanionModel& model, std::unique_ptr<ViewEngine> engine);
  ~CompanionViews();
  CompanionViews(const CompanionViews&) = delete;
  CompanionViews& operator=(const CompanionViews&) = delete;

  /// Makes `MacMenuView`, the panel below the icon: as high as its content, transparent around its rounded
  /// frame. The window is not shown yet and has no flags. Escape and its own commands emit `dismissed` on its
  /// root object.
  std::unique_ptr<QQuickView> makePanel();
  /// Makes `SetupWindowView`, 360 by 520 points, for a window that the desktop decorates. Not shown yet.
  std::unique_ptr<QQuickView> makeSetupWindow();
  /// The desktop's appearance, as the views see it.
  DesktopAppearance& appearance();

 private:
  std::unique_ptr<QQuickView> makeView(const char* name);

  CompanionModel& model_;
  const std::unique_ptr<ViewEngine> engine_;
};

}  // namespace tevanto
