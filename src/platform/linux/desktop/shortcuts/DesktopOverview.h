#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "core/Log.h"

namespace tevanto {

class SerialQueue;
struct BusAddress;

/// DesktopOverview opens the desktop's overview of all windows and its grid of applications. GNOME Shell and
/// KDE Plasma are called over the session bus, Xfce's programs are started. Other desktops have neither. Main
/// queue.
class DesktopOverview {
 public:
  /// Kind is the kind of an overview.
  enum class Kind { windows, applications };

  /// The locations under which the overviews are known as applications of the workspace.
  static constexpr std::string_view kWindowsLocation = "/System/Applications/Mission Control.app";
  static constexpr std::string_view kApplicationsLocation = "/System/Applications/Launchpad.app";

  virtual ~DesktopOverview() = default;

  virtual bool available(Kind kind) = 0;
  /// Shows it, or hides the window overview when it is shown. Returns at once; a failure is only logged.
  virtual void open(Kind kind) = 0;

  /// The overview of the desktop that XDG_CURRENT_DESKTOP names. Calls on the bus are made on `background`,
  /// a queue that may block.
  static std::shared_ptr<DesktopOverview> ofSession(std::shared_ptr<SerialQueue> background, Logger log);
  /// The overview of the desktop that `currentDesktop` names, on a certain bus.
  static std::shared_ptr<DesktopOverview> of(std::string_view currentDesktop, BusAddress sessionBus,
                                             std::shared_ptr<SerialQueue> background, Logger log);

  /// The overview that `location` stands for.
  static std::optional<Kind> kindAt(std::string_view location);
};

}  // namespace tevanto
