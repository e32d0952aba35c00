#include <QGuiApplication>
#include <QRasterWindow>

/// Some other program's window, which the user may turn to.
int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  QRasterWindow window;
  window.setTitle("Other");
  window.resize(300, 200);
  window.show();
  return QGuiApplication::exec();
}
