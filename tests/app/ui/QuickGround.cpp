#include "tests/app/ui/QuickGround.h"

#include <QFont>
#include <QGuiApplication>
#include <QQmlContext>
#include <QQmlEngine>

#include "app/ui/ViewEngine.h"
#include "tests/app/ui/QuickWorld.h"

namespace tevanto::test {

void QuickGround::applicationAvailable() {
  QFont font("DejaVu Sans");
  font.setPixelSize(13);
  QGuiApplication::setFont(font);
}

void QuickGround::qmlEngineAvailable(QQmlEngine* engine) {
  ViewEngine::prepare(*engine);
  auto* const world = new QuickWorld(*engine);
  world->setParent(engine);
  engine->rootContext()->setContextProperty("world", world);
}

}  // namespace tevanto::test
