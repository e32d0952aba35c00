#pragma once

#include <functional>
#include <optional>

namespace tevanto::test {

/// The icon of this process in the menu bar, as AppKit shows it. Points, from the top left of the main
/// display.
struct MenuBarIcon {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  bool hasTemplateImage = false;
  double imageWidth = 0;
};

// What a user sees of this process and does to it; in their place, for nobody may be there. On the main
// thread.

/// Nothing unless there is exactly one.
std::optional<MenuBarIcon> menuBarIcon();
/// False when there is none to press.
bool pressMenuBarIcon();
/// Opens this application again, as the Finder does. Whether the event reached somebody.
bool openAgain();
/// Whether this process has an icon in the Dock, and menus.
bool isInTheDock();
/// Takes in the system's events until `condition` holds, or for half a minute.
bool eventuallyWithEvents(const std::function<bool()>& condition);

}  // namespace tevanto::test
