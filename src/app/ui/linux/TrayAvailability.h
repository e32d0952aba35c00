#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// TrayAvailability finds the desktop's tray: StatusNotifier over D-Bus, or an XEmbed tray on the X server.
/// Qt chooses between the two once, when the first icon is made. An icon that is made before the desktop's
/// panel has come up would never be visible. Main thread.
class TrayAvailability {
 public:
  enum class Kind { none, statusNotifier, xembed };

  TrayAvailability();
  ~TrayAvailability();
  TrayAvailability(const TrayAvailability&) = delete;
  TrayAvailability& operator=(const TrayAvailability&) = delete;

  /// Asks the desktop.
  static Kind current();
  /// Calls `found` once, as soon as a tray comes up, or with `lookSoon` where there is one already.
  void await(std::function<void(Kind)> found);
  /// Asks the desktop with the loop's next turn.
  void lookSoon();

 private:
  class Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
