#pragma once

#include <QQuickItem>
#include <QQuickView>
#include <QString>
#include <QStringList>

#include <memory>
#include <ostream>

#include "app/ui/CompanionViews.h"
#include "app/ui/DesktopAppearance.h"
#include "tests/app/ui/UiWorld.h"

/// So that a failing comparison can be read.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace tevanto::test {

/// A view on an offscreen desktop, as a user meets it: looked at, clicked and typed at.
class ShownView {
 public:
  enum class Kind { setupWindow, panel };

  explicit ShownView(UiWorld& world, Kind kind);
  ~ShownView();
  ShownView(const ShownView&) = delete;
  ShownView& operator=(const ShownView&) = delete;

  QQuickView& window() { return *view_; }
  DesktopAppearance& appearance();
  /// What has been told is shown.
  void settle();

  /// The item of this `objectName`, below `within` or anywhere; null when there is none.
  QQuickItem* find(const QString& name, QQuickItem* within = nullptr) const;
  /// The `text` of the item of this name; fails where there is none.
  QString textOf(const QString& name, QQuickItem* within = nullptr) const;
  /// Every text that can be seen, row by row from the top.
  QStringList texts(QQuickItem* within = nullptr) const;
  /// Those of them that do not show all they hold, or that stand outside of the window.
  QStringList cutTexts() const;
  /// The names of the symbols that can be seen, in the same order.
  QStringList symbols(QQuickItem* within = nullptr) const;
  /// The button, link or switch that reads `text` to assistive technology.
  QQuickItem* control(const QString& name, QQuickItem* within = nullptr) const;
  /// All of them that can be seen, by that name, in the order of the Tab key.
  QStringList controlsByTab();

  void click(QQuickItem* item);
  void press(Qt::Key key);
  /// Puts the keyboard's focus there by Tab alone; false when Tab never gets there.
  bool tabTo(QQuickItem* item);

 private:
  UiWorld& world_;
  CompanionViews views_;
  std::unique_ptr<QQuickView> view_;
};

/// Whether it and all that it lies in is visible and not transparent.
bool isShown(const QQuickItem* item);

}  // namespace tevanto::test
