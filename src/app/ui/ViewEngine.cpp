#include "app/ui/ViewEngine.h"

#include "app/ui/QrImages.h"
#include "app/ui/SymbolImages.h"

// Made, and named, by qmltyperegistrar.
void qml_register_types_Tevanto();  // NOLINT(readability-identifier-naming)

namespace tevanto {

ViewEngine::ViewEngine() : setupWindow_(&engine_) {
  prepare(engine_);
  setupWindow_.loadUrl(sourceOf("SetupWindowView"), QQmlComponent::Asynchronous);
}

void ViewEngine::prepare(QQmlEngine& engine) {
  qml_register_types_Tevanto();
  engine.addImageProvider(SymbolImages::kName, new SymbolImages);
  engine.addImageProvider(QrImages::kName, new QrImages);
}

QUrl ViewEngine::sourceOf(const char* name) {
  return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Tevanto/") + name + ".qml");
}

}  // namespace tevanto
