#include "app/ui/Spring.h"

#include <cmath>
#include <numbers>

namespace tevanto {

Spring::Spring(double response, double dampingFraction) {
  const double undamped = 2 * std::numbers::pi / response;
  decay_ = dampingFraction * undamped;
  angular_ = undamped * std::sqrt(1 - dampingFraction * dampingFraction);
}

Spring::Motion Spring::after(double seconds, Motion start) const {
  const double cosine = start.position;
  const double sine = (start.velocity + decay_ * start.position) / angular_;
  const double envelope = std::exp(-decay_ * seconds);
  const double c = std::cos(angular_ * seconds);
  const double s = std::sin(angular_ * seconds);
  const double position = envelope * (cosine * c + sine * s);
  const double turning = envelope * angular_ * (sine * c - cosine * s);
  return {position, turning - decay_ * position};
}

double Spring::settlingTime(double precision) const {
  // The envelope of the swing after such a start.
  const double height = std::hypot(1, decay_ / angular_);
  return std::log(height / precision) / decay_;
}

}  // namespace tevanto
