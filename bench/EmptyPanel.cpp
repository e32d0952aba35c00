// What the panel is compared with: a program that runs, has shown a Qt Quick window before, and shows an
// empty one with each click on its icon in the tray, of the panel's kind and drawn in the same way; the next
// click takes it away. The window's height is the program's argument.
#include <QApplication>
#include <QPixmap>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QSystemTrayIcon>
#include <memory>

namespace {

std::unique_ptr<QQuickView> makeView(QQmlEngine& engine, QQmlComponent& component) {
  auto view = std::make_unique<QQuickView>(&engine, nullptr);
  view->setContent(QUrl(), &component, component.create());
  view->setPosition(400, 100);
  return view;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QQmlEngine engine;
  QQmlComponent component(&engine);
  component.setData(
      "import QtQuick\nRectangle { width: 360; height: " + QByteArray(argc > 1 ? argv[1] : "480") + " }",
      QUrl());
  const auto window = makeView(engine, component);
  window->show();

  std::unique_ptr<QQuickView> panel;
  const auto toggle = [&] {
    if (panel && panel->isVisible()) return panel->hide();
    if (!panel) {
      panel = makeView(engine, component);
      panel->setColor(Qt::transparent);
      panel->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    }
    panel->show();
    panel->raise();
    panel->requestActivate();
  };
  QPixmap pixmap(32, 32);
  pixmap.fill(Qt::blue);
  QSystemTrayIcon icon{QIcon(pixmap)};
  QObject::connect(&icon, &QSystemTrayIcon::activated, &icon, toggle);
  icon.show();
  return QApplication::exec();
}
