#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// Whether the user wants less motion (System Settings > Accessibility > Display). Main queue only.
class AppKitMotion {
 public:
  explicit AppKitMotion(std::function<void(bool isReduced)> onChange);
  ~AppKitMotion();
  AppKitMotion(const AppKitMotion&) = delete;
  AppKitMotion& operator=(const AppKitMotion&) = delete;

  static bool isReduced();

 private:
  struct Observation;
  const std::unique_ptr<Observation> observation_;
};

}  // namespace tevanto
