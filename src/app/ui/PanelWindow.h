#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QRect>
#include <functional>
#include <memory>

class QQuickView;

namespace tevanto {

class CompanionModel;
class CompanionViews;

/// PanelWindow is the panel below the tray's icon. A click on the icon opens it; another click, Escape or the
/// loss of the focus closes it. Main thread.
class PanelWindow final : public QObject {
 public:
  /// Model and views outlive it. `isTransparencyShown` is true when the desktop composites transparent
  /// windows; the panel has round corners only then. It is asked each time that the panel opens.
  PanelWindow(
      CompanionModel& model, CompanionViews& views,
      std::function<bool()> isTransparencyShown = [] { return true; });
  ~PanelWindow() override;

  /// Opens the panel at the icon, at the pointer where `icon` is empty, or closes it.
  void toggle(const QRect& icon);
  void close();

 private:
  void make();
  void openAt(const QRect& anchor);
  bool eventFilter(QObject* watched, QEvent* event) override;

  CompanionModel& model_;
  CompanionViews& views_;
  const std::function<bool()> isTransparencyShown_;
  std::unique_ptr<QQuickView> view_;
  QElapsedTimer closedByItself_;  // since the focus went elsewhere
  bool wasActive_ = false;
};

}  // namespace tevanto
