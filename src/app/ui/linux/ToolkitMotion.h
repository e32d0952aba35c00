#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace tevanto {

class XSettings;

/// Whether the desktop asks every toolkit to do without animations, for desktops without a settings portal:
/// by `Gtk/EnableAnimations` of an X desktop's settings daemon, which is followed, else by GNOME's setting,
/// which is not. Main thread.
class ToolkitMotion {
 public:
  /// Calls `changed` at once, and again whenever it may have changed.
  explicit ToolkitMotion(std::function<void(bool isReduced)> changed);
  ~ToolkitMotion();
  ToolkitMotion(const ToolkitMotion&) = delete;
  ToolkitMotion& operator=(const ToolkitMotion&) = delete;

 private:
  void tell();

  const std::function<void(bool)> changed_;
  const std::unique_ptr<XSettings> settings_;  // null without an X server
  std::unique_ptr<QSocketNotifier> news_;
};

}  // namespace tevanto
