#include "app/ui/DesktopAppearance.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>

#include <utility>

namespace tevanto {

DesktopAppearance::DesktopAppearance(QObject* parent)
    : QObject(parent), isDark_(isPaletteDark()), source_(follow_ != nullptr ? follow_(*this) : nullptr) {
  connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &DesktopAppearance::changed);
}

DesktopAppearance::~DesktopAppearance() = default;

bool DesktopAppearance::isPaletteDark() {
  const auto palette = QGuiApplication::palette();
  return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

bool DesktopAppearance::isRightToLeft() const {
  return QGuiApplication::layoutDirection() == Qt::RightToLeft;
}

QString DesktopAppearance::monospacedFamily() const {
  return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

void DesktopAppearance::setDark(bool dark) {
  if (std::exchange(isDark_, dark) != dark) Q_EMIT changed();
}

void DesktopAppearance::setMotionReduced(bool reduced) {
  if (std::exchange(isMotionReduced_, reduced) != reduced) Q_EMIT changed();
}

void DesktopAppearance::setMotionReducedByPortal(bool reduced) {
  isMotionThePortals_ = true;
  setMotionReduced(reduced);
}

void DesktopAppearance::setMotionReducedByToolkit(bool reduced) {
  if (!isMotionThePortals_) setMotionReduced(reduced);
}

}  // namespace tevanto
