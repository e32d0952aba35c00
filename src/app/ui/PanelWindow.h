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

/// The panel under the tray's icon: opens with a click on it, closes with another one, with Escape, or when
/// the user turns to something else. Main thread.
class PanelWindow final : public QObject {
 public:
  /// Both outlive it. `isTransparencyShown` tells whether the desktop shows what lies behind a window's
  /// transparent parts, and is asked each time that the panel opens: it has round corners only where that is
  /// so.
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
