#include "app/ui/Spring.h"

#include <gtest/gtest.h>

#include <QTest>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include "app/ui/SpringValue.h"

namespace tevanto {
namespace {

constexpr double kResponse = 0.5;
constexpr double kFraction = 0.85;
constexpr double kStiffness = (2 * std::numbers::pi / kResponse) * (2 * std::numbers::pi / kResponse);
constexpr double kDamping = 4 * std::numbers::pi * kFraction / kResponse;

/// The oscillator's equation, x'' = -stiffness · x - damping · x', solved in small steps (Runge-Kutta, fourth
/// order).
Spring::Motion integrated(double seconds, Spring::Motion start) {
  constexpr int kSteps = 20'000;
  const double h = seconds / kSteps;
  const auto acceleration = [](double x, double v) { return -kStiffness * x - kDamping * v; };
  auto [x, v] = start;
  for (int i = 0; i < kSteps; ++i) {
    const double x1 = v, v1 = acceleration(x, v);
    const double x2 = v + h / 2 * v1, v2 = acceleration(x + h / 2 * x1, v + h / 2 * v1);
    const double x3 = v + h / 2 * v2, v3 = acceleration(x + h / 2 * x2, v + h / 2 * v2);
    const double x4 = v + h * v3, v4 = acceleration(x + h * x3, v + h * v3);
    x += h / 6 * (x1 + 2 * x2 + 2 * x3 + x4);
    v += h / 6 * (v1 + 2 * v2 + 2 * v3 + v4);
  }
  return {x, v};
}

TEST(Spring, movesAsTheOscillatorsEquationSays) {
  const Spring spring;
  for (const Spring::Motion start : {Spring::Motion{1, 0}, Spring::Motion{-1, 0}, Spring::Motion{0.3, -4}}) {
    for (const double seconds : {0.0, 0.016, 0.1, 0.25, 0.4, 0.8}) {
      const auto expected = integrated(seconds, start);
      const auto found = spring.after(seconds, start);
      EXPECT_NEAR(found.position, expected.position, 1e-6) << seconds;
      EXPECT_NEAR(found.velocity, expected.velocity, 1e-5) << seconds;
    }
  }
}

TEST(Spring, overshootsByWhatItsDampingSays) {
  const Spring spring;
  double lowest = 1;
  for (int ms = 0; ms < 2000; ++ms) lowest = std::min(lowest, spring.after(ms / 1000.0, {1, 0}).position);
  EXPECT_NEAR(lowest, -std::exp(-std::numbers::pi * kFraction / std::sqrt(1 - kFraction * kFraction)), 1e-5);
}

TEST(Spring, staysAtItsRestOnceItHasSettled) {
  const Spring spring;
  for (const double precision : {0.01, 0.0005}) {
    const double settled = spring.settlingTime(precision);
    for (double t = settled; t < settled + 2; t += 0.001)
      ASSERT_LE(std::abs(spring.after(t, {1, 0}).position), precision) << t;
  }
}

/// Sets the time by hand, so that no clock has a say.
TEST(SpringValue, followsTheSpringFromTheOldTargetToTheNewOne) {
  SpringValue value;
  value.setTarget(0);
  value.setTarget(1);
  value.pause();
  for (const int ms : {0, 16, 100, 300}) {
    value.setCurrentTime(ms);
    EXPECT_NEAR(value.value(), 1 + integrated(ms / 1000.0, {-1, 0}).position, 1e-6) << ms;
  }
  value.setCurrentTime(value.duration());
  EXPECT_EQ(value.value(), 1);
}

TEST(SpringValue, keepsItsVelocityWhenTheTargetChangesOnTheWay) {
  SpringValue value;
  value.setTarget(0);
  value.setTarget(1);
  value.pause();
  value.setCurrentTime(100);
  const auto turned = integrated(0.1, {-1, 0});
  value.setTarget(0);
  value.pause();
  value.setCurrentTime(50);
  EXPECT_NEAR(value.value(), integrated(0.05, {1 + turned.position, turned.velocity}).position, 1e-6);
}

TEST(SpringValue, startsAtItsFirstTarget) {
  SpringValue value;
  value.setTarget(1);
  EXPECT_EQ(value.value(), 1);
  EXPECT_EQ(value.state(), QAbstractAnimation::Stopped);
}

TEST(SpringValue, jumpsWhereMotionIsReduced) {
  SpringValue value;
  value.setJumps(true);
  value.setTarget(0);
  value.setTarget(1);
  EXPECT_EQ(value.value(), 1);
  EXPECT_EQ(value.state(), QAbstractAnimation::Stopped);
}

TEST(SpringValue, jumpsToItsTargetWhenMotionIsReducedOnTheWay) {
  SpringValue value;
  value.setTarget(0);
  value.setTarget(1);
  EXPECT_EQ(value.state(), QAbstractAnimation::Running);
  value.setJumps(true);
  EXPECT_EQ(value.value(), 1);
  EXPECT_EQ(value.state(), QAbstractAnimation::Stopped);
}

TEST(SpringValue, arrivesByItself) {
  SpringValue value;
  value.setTarget(0);
  std::vector<double> seen;
  QObject::connect(&value, &SpringValue::valueChanged, [&] { seen.push_back(value.value()); });
  value.setTarget(1);
  ASSERT_TRUE(QTest::qWaitFor([&] { return value.state() == QAbstractAnimation::Stopped; }, 60'000));
  EXPECT_EQ(value.value(), 1);
  EXPECT_EQ(seen.back(), 1);
}

}  // namespace
}  // namespace tevanto
