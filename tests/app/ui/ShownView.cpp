#include "tests/app/ui/ShownView.h"

#include <QGuiApplication>
#include <QTest>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace tevanto::test {
namespace {

using Visitor = std::function<void(QQuickItem*)>;

void forEachBelow(QQuickItem* item, const Visitor& visit) {
  visit(item);
  for (auto* const child : item->childItems()) forEachBelow(child, visit);
}

/// Top to bottom, and from left to right what stands in one row.
std::vector<QQuickItem*> inReadingOrder(QQuickItem* root, const std::function<bool(QQuickItem*)>& wanted) {
  std::vector<QQuickItem*> found;
  forEachBelow(root, [&](QQuickItem* item) {
    if (wanted(item) && isShown(item)) found.push_back(item);
  });
  const auto place = [](const QQuickItem* item) {
    const auto corner = item->mapToScene({0, 0});
    return std::tuple(corner.y(), corner.x());
  };
  std::stable_sort(found.begin(), found.end(), [&](auto* a, auto* b) { return place(a) < place(b); });
  return found;
}

bool isText(const QQuickItem* item) {
  return item->inherits("QQuickText") && !item->property("text").toString().isEmpty();
}

bool isControl(const QQuickItem* item) {
  return item->property("isHovered").isValid() && item->activeFocusOnTab();
}

}  // namespace

bool isShown(const QQuickItem* item) {
  for (auto* at = item; at; at = at->parentItem()) {
    if (!at->isVisible() || at->opacity() == 0) return false;
  }
  return true;
}

ShownView::ShownView(UiWorld& world, Kind kind) : world_(world), views_(world.model()) {
  view_ = kind == Kind::setupWindow ? views_.makeSetupWindow() : views_.makePanel();
  if (!view_->errors().isEmpty())
    throw std::runtime_error(view_->errors().constFirst().toString().toStdString());
  view_->show();
  view_->requestActivate();
  if (!QTest::qWaitForWindowExposed(view_.get(), 60'000)) throw std::runtime_error("the view was not shown");
  settle();
}

// What Qt keeps for its loop's next turn is freed here: the program may not have one.
ShownView::~ShownView() {
  view_.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

DesktopAppearance& ShownView::appearance() { return views_.appearance(); }

void ShownView::settle() {
  world_.run();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  QCoreApplication::processEvents();
  world_.run();
}

QQuickItem* ShownView::find(const QString& name, QQuickItem* within) const {
  QQuickItem* found = nullptr;
  forEachBelow(within ? within : view_->rootObject(), [&](QQuickItem* item) {
    if (!found && item->objectName() == name) found = item;
  });
  return found;
}

QString ShownView::textOf(const QString& name, QQuickItem* within) const {
  const auto* const item = find(name, within);
  return item ? item->property("text").toString() : "there is no " + name;
}

QStringList ShownView::texts(QQuickItem* within) const {
  QStringList all;
  for (const auto* item : inReadingOrder(within ? within : view_->rootObject(), isText))
    all << item->property("text").toString();
  return all;
}

QStringList ShownView::cutTexts() const {
  QStringList cut;
  const QRectF window(0, 0, view_->width(), view_->height());
  for (const auto* item : inReadingOrder(view_->rootObject(), isText)) {
    const auto place = item->mapRectToScene({0, 0, item->width(), item->height()});
    if (item->property("truncated").toBool() ||
        item->property("contentWidth").toDouble() > item->width() + 1 || !window.contains(place))
      cut << item->property("text").toString();
  }
  return cut;
}

QStringList ShownView::symbols(QQuickItem* within) const {
  QStringList all;
  for (const auto* item : inReadingOrder(within ? within : view_->rootObject(), [](QQuickItem* each) {
         return each->property("source").toUrl().scheme() == "image" && each->property("name").isValid();
       }))
    all << item->property("name").toString();
  return all;
}

QQuickItem* ShownView::control(const QString& name, QQuickItem* within) const {
  QQuickItem* found = nullptr;
  forEachBelow(within ? within : view_->rootObject(), [&](QQuickItem* item) {
    if (!found && isControl(item) && isShown(item) && item->property("name").toString() == name) found = item;
  });
  return found;
}

QStringList ShownView::controlsByTab() {
  QStringList names;
  press(Qt::Key_Tab);
  auto* const first = view_->activeFocusItem();
  if (!first || !isControl(first)) return names;
  do {
    names << view_->activeFocusItem()->property("name").toString();
    press(Qt::Key_Tab);
  } while (view_->activeFocusItem() != first && names.size() < 100);
  return names;
}

void ShownView::click(QQuickItem* item) {
  if (!item) throw std::invalid_argument("nothing to click");
  const auto center = item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
  QTest::mouseClick(view_.get(), Qt::LeftButton, Qt::NoModifier, center);
  settle();
}

void ShownView::press(Qt::Key key) {
  QTest::keyClick(view_.get(), key);
  settle();
}

bool ShownView::tabTo(QQuickItem* item) {
  for (int i = 0; i < 100; ++i) {
    if (view_->activeFocusItem() == item) return true;
    press(Qt::Key_Tab);
  }
  return false;
}

}  // namespace tevanto::test
