#pragma once

#include <string_view>

namespace tevanto {

enum class Desktop { gnome, plasma, xfce, other };

/// The desktop that XDG_CURRENT_DESKTOP names: a list separated by colons, the most particular name first.
Desktop desktopNamed(std::string_view currentDesktop);

}  // namespace tevanto
