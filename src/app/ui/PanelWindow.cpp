#include "app/ui/PanelWindow.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <utility>

#include "app/ui/CompanionModel.h"
#include "app/ui/CompanionViews.h"
#include "app/ui/PanelPlacement.h"

namespace tevanto {
namespace {

/// The click on the icon that is meant to close the panel has already taken the focus from it.
constexpr int kSameClickMilliseconds = 250;

}  // namespace

PanelWindow::PanelWindow(CompanionModel& model, CompanionViews& views,
                         std::function<bool()> isTransparencyShown)
    : model_(model), views_(views), isTransparencyShown_(std::move(isTransparencyShown)) {}
PanelWindow::~PanelWindow() = default;

void PanelWindow::toggle(const QRect& icon) {
  if (view_ && view_->isVisible()) return close();
  if (closedByItself_.isValid() && closedByItself_.elapsed() < kSameClickMilliseconds) {
    closedByItself_.invalidate();
    return;
  }
  openAt(icon.isEmpty() ? QRect(QCursor::pos(), QSize()) : icon);
}

void PanelWindow::close() {
  if (view_) view_->hide();
  wasActive_ = false;
}

void PanelWindow::make() {
  view_ = views_.makePanel();
  view_->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
  view_->setTitle(QStringLiteral("Tevanto"));
  view_->installEventFilter(this);
  // Declared in QML, so that it is only known by name.
  connect(view_->rootObject(), SIGNAL(dismissed()), view_.get(), SLOT(hide()));
}

void PanelWindow::openAt(const QRect& anchor) {
  if (!view_) make();
  model_.refresh();
  view_->rootObject()->setProperty("isRound", isTransparencyShown_());
  auto* screen = QGuiApplication::screenAt(anchor.center());
  if (!screen) screen = QGuiApplication::primaryScreen();
  view_->setScreen(screen);
  view_->setPosition(placePanel(anchor, view_->size(), screen->availableGeometry()));
  view_->show();
  view_->raise();
  view_->requestActivate();
}

bool PanelWindow::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::FocusIn) wasActive_ = true;
  if (event->type() == QEvent::FocusOut && wasActive_) {
    closedByItself_.start();
    close();
  }
  return false;
}

}  // namespace tevanto
