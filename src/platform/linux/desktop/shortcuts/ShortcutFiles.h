#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// The texts of a shortcut's accelerators; empty when the user has switched it off.
using Accelerators = std::vector<std::string>;

/// The shortcuts of one entry of KDE's kglobalshortcutsrc ("Overview=Meta+W\tMeta+Tab,Meta+W,Toggle
/// Overview"); nothing when the file has no such entry in that group.
std::optional<Accelerators> kdeShortcut(std::string_view file, std::string_view group, std::string_view name);

/// The accelerators that start `action` in a file of the Xfce channel xfce4-keyboard-shortcuts: those of the
/// user's own list of the window manager when the file has one, else those of its defaults. Nothing when the
/// file has neither, or is damaged.
std::optional<Accelerators> xfceShortcut(std::string_view file, std::string_view action);

}  // namespace tevanto
