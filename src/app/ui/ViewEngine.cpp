#include "app/ui/ViewEngine.h"

#include "app/ui/QrImages.h"
#include "app/ui/SymbolImages.h"

// Made, and named, by qmltyperegistrar.
void qml_register_types_Tevanto();  // NOLINT(readability-identifier-naming)

namespace tevanto {

ViewEngine::ViewEngine() : setupWindow_(&engine_) {
  qml_register_types_Tevanto();
  engine_.addImageProvider(SymbolImages::kName, new SymbolImages);
  engine_.addImageProvider(QrImages::kName, new QrImages);
  setupWindow_.loadUrl(sourceOf("SetupWindowView"), QQmlComponent::Asynchronous);
}

QUrl ViewEngine::sourceOf(const char* name) {
  return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Tevanto/") + name + ".qml");
}

}  // namespace tevanto
