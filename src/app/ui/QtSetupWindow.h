#pragma once

#include <QObject>
#include <QPointer>
#include <functional>

#include "app/runtime/SetupWindow.h"

class QQuickView;

namespace tevanto {

class WindowActivation;

/// QtSetupWindow is the setup window. Closing it only hides it. Main thread.
class QtSetupWindow final : public QObject, public SetupWindow {
 public:
  /// `activation` outlives it; `view` may go away first.
  QtSetupWindow(QQuickView& view, const SetupWindowStyle& style, std::function<void()> onClose,
                WindowActivation& activation);

  void center() override;
  void orderFrontAsKey() override;

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;

  const QPointer<QQuickView> view_;
  const std::function<void()> onClose_;
  WindowActivation& activation_;
};

}  // namespace tevanto
