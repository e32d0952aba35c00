#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace tevanto {

class XSettings;

/// ToolkitMotion watches whether the desktop asks every toolkit to do without animations, for desktops
/// without a settings portal. It follows `Gtk/EnableAnimations` of an X desktop's settings daemon; without
/// one it reads GNOME's setting once. Main thread.
class ToolkitMotion {
 public:
  /// Calls `changed` at once, and again whenever it may have changed.
  explicit ToolkitMotion(std::function<void(bool isReduced)> changed);
  ~ToolkitMotion();
  ToolkitMotion(const ToolkitMotion&) = delete;
  ToolkitMotion& operator=(const ToolkitMotion&) = delete;

 private:
  void notify();

  const std::function<void(bool)> changed_;
  const std::unique_ptr<XSettings> settings_;  // null without an X server
  std::unique_ptr<QSocketNotifier> news_;
};

}  // namespace tevanto
