#include "app/ui/SpringValue.h"

#include <cmath>
#include <utility>

namespace tevanto {
namespace {

/// Less than a pixel of any way that is traveled here.
constexpr double kPrecision = 0.0005;
constexpr double kMillisecondsPerSecond = 1000;

}  // namespace

void SpringValue::setTarget(qreal target) {
  if (hasTarget_ && target == target_) return;
  const bool isFirst = !std::exchange(hasTarget_, true);
  target_ = target;
  Q_EMIT targetChanged();
  if (isFirst || jumps_) return rest();
  stop();
  start_ = {value_ - target_, velocity_};
  start();
}

void SpringValue::setJumps(bool jumps) {
  if (jumps == jumps_) return;
  jumps_ = jumps;
  Q_EMIT jumpsChanged();
  if (jumps_ && hasTarget_) rest();
}

int SpringValue::duration() const {
  return static_cast<int>(std::ceil(spring_.settlingTime(kPrecision) * kMillisecondsPerSecond));
}

void SpringValue::updateCurrentTime(int milliseconds) {
  if (milliseconds >= duration()) {
    velocity_ = 0;
    return setValue(target_);
  }
  const auto now = spring_.after(milliseconds / kMillisecondsPerSecond, start_);
  velocity_ = now.velocity;
  setValue(target_ + now.position);
}

void SpringValue::rest() {
  stop();
  velocity_ = 0;
  setValue(target_);
}

void SpringValue::setValue(qreal value) {
  if (value == value_) return;
  value_ = value;
  Q_EMIT valueChanged();
}

}  // namespace tevanto
