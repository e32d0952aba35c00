#include "platform/linux/desktop/shortcuts/CurrentDesktop.h"

namespace tevanto {

Desktop desktopNamed(std::string_view currentDesktop) {
  while (!currentDesktop.empty()) {
    const auto end = currentDesktop.find(':');
    const auto name = currentDesktop.substr(0, end);
    if (name == "GNOME" || name == "Unity" || name == "Budgie") return Desktop::gnome;
    if (name == "KDE") return Desktop::plasma;
    if (name == "XFCE") return Desktop::xfce;
    currentDesktop.remove_prefix(end == std::string_view::npos ? currentDesktop.size() : end + 1);
  }
  return Desktop::other;
}

}  // namespace tevanto
