#include "app/ui/CompanionViews.h"

#include <QColor>
#include <QQmlEngine>
#include <QQuickView>
#include <QVariant>
#include <utility>

#include "app/runtime/SetupWindow.h"
#include "app/ui/CompanionModel.h"
#include "app/ui/DesktopAppearance.h"
#include "app/ui/ViewEngine.h"

namespace tevanto {

CompanionViews::CompanionViews(CompanionModel& model)
    : CompanionViews(model, std::make_unique<ViewEngine>()) {}

CompanionViews::CompanionViews(CompanionModel& model, std::unique_ptr<ViewEngine> engine)
    : model_(model), engine_(std::move(engine)) {
  // Otherwise the engine would take what its calls return for its own.
  QQmlEngine::setObjectOwnership(&model, QQmlEngine::CppOwnership);
}

CompanionViews::~CompanionViews() = default;

std::unique_ptr<QQuickView> CompanionViews::makeView(const char* name) {
  auto view = std::make_unique<QQuickView>(&engine_->engine(), nullptr);
  view->setInitialProperties({{"companion", QVariant::fromValue(&model_)}});
  view->setSource(ViewEngine::sourceOf(name));
  return view;
}

std::unique_ptr<QQuickView> CompanionViews::makePanel() {
  auto view = makeView("PanelWindowView");
  view->setColor(Qt::transparent);
  view->setResizeMode(QQuickView::SizeViewToRootObject);
  return view;
}

std::unique_ptr<QQuickView> CompanionViews::makeSetupWindow() {
  auto view = makeView("SetupWindowView");
  view->setResizeMode(QQuickView::SizeRootObjectToView);
  view->resize(SetupWindowStyle::kWidth, SetupWindowStyle::kHeight);
  return view;
}

DesktopAppearance& CompanionViews::appearance() {
  const int type = qmlTypeId("Tevanto", 1, 0, "DesktopAppearance");
  return *engine_->engine().singletonInstance<DesktopAppearance*>(type);
}

}  // namespace tevanto
