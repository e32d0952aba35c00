#include "app/ui/QtSetupWindow.h"

#include <QEvent>
#include <QQuickView>
#include <QScreen>
#include <utility>

#include "app/ui/WindowActivation.h"

namespace tevanto {
namespace {

Qt::WindowFlags flagsOf(const SetupWindowStyle& style) {
  Qt::WindowFlags flags =
      Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint;
  flags.setFlag(Qt::WindowCloseButtonHint, style.closable);
  flags.setFlag(Qt::WindowMinimizeButtonHint, style.miniaturizable);
  flags.setFlag(Qt::WindowMaximizeButtonHint, style.resizable);
  return flags;
}

}  // namespace

QtSetupWindow::QtSetupWindow(QQuickView& view, const SetupWindowStyle& style, std::function<void()> onClose,
                             WindowActivation& activation)
    : view_(&view), onClose_(std::move(onClose)), activation_(activation) {
  view.setFlags(flagsOf(style));
  view.setTitle(QString::fromUtf8(style.title.data(), static_cast<qsizetype>(style.title.size())));
  view.setGeometry(style.x, style.y, style.width, style.height);
  if (!style.resizable) {
    view.setMinimumSize({style.width, style.height});
    view.setMaximumSize({style.width, style.height});
  }
  view.installEventFilter(this);
}

void QtSetupWindow::center() {
  if (!view_) return;
  auto frame = view_->geometry();
  frame.moveCenter(view_->screen()->availableGeometry().center());
  view_->setPosition(frame.topLeft());
}

void QtSetupWindow::orderFrontAsKey() {
  if (!view_) return;
  activation_.bringForward(*view_);
}

bool QtSetupWindow::eventFilter(QObject*, QEvent* event) {
  if (event->type() != QEvent::Close) return false;
  event->ignore();
  view_->hide();
  if (onClose_) onClose_();
  return true;
}

}  // namespace tevanto
