// What the setup window is compared with: a program that does nothing but show an empty Qt Quick window of
// its size, drawn in the same way.
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>

int main(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QQuickView view;
  QQmlComponent component(view.engine());
  component.setData("import QtQuick\nRectangle { width: 360; height: 520 }", QUrl());
  view.setContent(QUrl(), &component, component.create());
  view.show();
  return QGuiApplication::exec();
}
