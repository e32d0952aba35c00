#include <QtQuickTest/quicktest.h>
#include <QFont>
#include <QGuiApplication>
#include <QQmlContext>
#include <QQmlEngine>

#include "app/ui/ViewEngine.h"
#include "tests/app/ui/QuickWorld.h"

namespace {

/// What the tests under quick/ run on.
class Ground : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void applicationAvailable() {
    QFont font("DejaVu Sans");
    font.setPixelSize(13);
    QGuiApplication::setFont(font);
  }
  void qmlEngineAvailable(QQmlEngine* engine) {
    tevanto::ViewEngine::prepare(*engine);
    auto* const world = new tevanto::test::QuickWorld(*engine);
    world->setParent(engine);
    engine->rootContext()->setContextProperty("world", world);
  }
};

}  // namespace

/// The desktop of the other tests of the views: offscreen, drawn by the processor, with nothing of the
/// machine's own.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_SCALE_FACTOR", "1");
  qputenv("FONTCONFIG_FILE", TEVANTO_TEST_FONTS);
  qputenv("LC_ALL", "C.UTF-8");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "0");
  Ground ground;
  return quick_test_main_with_setup(argc, argv, "views", QUICK_TEST_SOURCE_DIR, &ground);
}

#include "QuickViews.moc"
