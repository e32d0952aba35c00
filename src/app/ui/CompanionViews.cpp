#include "app/ui/CompanionViews.h"

#include <QColor>
#include <QQmlEngine>
#include <QQuickView>
#include <QUrl>
#include <QVariant>

#include "app/SetupWindow.h"
#include "app/ui/CompanionModel.h"
#include "app/ui/QrImages.h"
#include "app/ui/SymbolImages.h"

// Made, and named, by qmltyperegistrar.
void qml_register_types_Tevanto();  // NOLINT(readability-identifier-naming)

namespace tevanto {
namespace {

QUrl sourceOf(const char* view) {
  return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Tevanto/") + view + ".qml");
}

}  // namespace

struct CompanionViews::Parts {
  explicit Parts(CompanionModel& shown) : model(shown) {
    qml_register_types_Tevanto();
    // Otherwise the engine would take what its calls return for its own.
    QQmlEngine::setObjectOwnership(&model, QQmlEngine::CppOwnership);
    engine.addImageProvider(SymbolImages::kName, new SymbolImages);
    engine.addImageProvider(QrImages::kName, new QrImages);
  }

  std::unique_ptr<QQuickView> makeView(const char* name) {
    auto view = std::make_unique<QQuickView>(&engine, nullptr);
    view->setInitialProperties({{"companion", QVariant::fromValue(&model)}});
    view->setSource(sourceOf(name));
    return view;
  }

  CompanionModel& model;
  QQmlEngine engine;
};

CompanionViews::CompanionViews(CompanionModel& model) : parts_(std::make_unique<Parts>(model)) {}

CompanionViews::~CompanionViews() = default;

std::unique_ptr<QQuickView> CompanionViews::makePanel() {
  auto view = parts_->makeView("PanelWindowView");
  view->setColor(Qt::transparent);
  view->setResizeMode(QQuickView::SizeViewToRootObject);
  return view;
}

std::unique_ptr<QQuickView> CompanionViews::makeSetupWindow() {
  auto view = parts_->makeView("SetupWindowView");
  view->setResizeMode(QQuickView::SizeRootObjectToView);
  view->resize(SetupWindowStyle::kWidth, SetupWindowStyle::kHeight);
  return view;
}

}  // namespace tevanto
