#include "app/ui/macos/MacAppearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QObject>
#include <memory>

#include "app/ui/DesktopAppearance.h"
#include "platform/macos/application/AppKitMotion.h"

namespace tevanto {
namespace {

/// Qt's palette is the system's, and changes with it.
class MacAppearance final : public QObject {
 public:
  explicit MacAppearance(DesktopAppearance& appearance)
      : appearance_(appearance),
        motion_([&appearance](bool reduced) { appearance.setMotionReduced(reduced); }) {
    appearance_.setMotionReduced(AppKitMotion::isReduced());
    qGuiApp->installEventFilter(this);
  }

 private:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::ApplicationPaletteChange)
      appearance_.setDark(DesktopAppearance::isPaletteDark());
    return false;
  }

  DesktopAppearance& appearance_;
  const AppKitMotion motion_;
};

}  // namespace

std::unique_ptr<QObject> followAppKit(DesktopAppearance& appearance) {
  return std::make_unique<MacAppearance>(appearance);
}

}  // namespace tevanto
