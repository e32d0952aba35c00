#include <QFile>
#include <QLibraryInfo>

#include "app/ui/linux/InstalledFonts.h"
#include "app/ui/linux/QtDesktopUi.h"
#include "platform/linux/x11/XServerReach.h"

namespace {

/// Qt ends the process where it has no plugin for the display that there is; that for Wayland is a package of
/// its own.
bool hasPluginForDisplay() {
  return tevanto::canReachXServer() ||
         QFile::exists(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms/libqwayland-generic.so");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) tevanto::DesktopUi* tevantoMakeDesktopUi() {
  return hasPluginForDisplay() ? new tevanto::QtDesktopUi() : nullptr;
}

extern "C" __attribute__((visibility("default"))) std::string* tevantoDescribeFonts() {
  return new std::string(tevanto::describeInstalledFonts());
}
