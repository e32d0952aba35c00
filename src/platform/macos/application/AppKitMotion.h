#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// AppKitMotion watches the setting for reduced motion (System Settings > Accessibility > Display). Main
/// queue only.
class AppKitMotion {
 public:
  explicit AppKitMotion(std::function<void(bool isReduced)> onChange);
  ~AppKitMotion();
  AppKitMotion(const AppKitMotion&) = delete;
  AppKitMotion& operator=(const AppKitMotion&) = delete;

  static bool isReduced();

 private:
  struct Core;
  const std::unique_ptr<Core> core_;
};

}  // namespace tevanto
