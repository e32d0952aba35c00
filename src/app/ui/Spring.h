#pragma once

namespace tevanto {

/// Spring is a damped harmonic oscillator of mass 1, described as in interfaces: by its response, the period
/// that it would have without damping, and by its damping as a fraction of the critical one. Its stiffness is
/// (2π / response)², its damping 4π · fraction / response.
class Spring {
 public:
  struct Motion {
    double position = 0;
    double velocity = 0;  // a second
  };

  static constexpr double kResponse = 0.5;  // seconds
  static constexpr double kDampingFraction = 0.85;

  /// `dampingFraction` from 0 to below 1: it swings.
  explicit Spring(double response = kResponse, double dampingFraction = kDampingFraction);

  /// The motion `seconds` after its release as `start`, when its rest is at 0.
  Motion after(double seconds, Motion start) const;
  /// Seconds after which it stays within `precision` of its rest, released without velocity at a distance
  /// of 1.
  double settlingTime(double precision) const;

 private:
  double decay_;    // 1/s
  double angular_;  // 1/s, of the damped swing
};

}  // namespace tevanto
