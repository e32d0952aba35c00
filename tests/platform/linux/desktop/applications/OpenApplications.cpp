// Opens an application for each line of its input ("activate PATH" or "default PATH") and answers each with
// "opened". "end BUS" waits until the session bus is gone and GLib has dealt with it, and answers "ended". A
// process of its own, because what it starts has to outlive it, and because GLib keeps the
// session bus of the environment that it first saw.

#include <gio/gio.h>

#include <iostream>
#include <string>

#include "platform/linux/desktop/applications/DesktopWorkspace.h"
#include "platform/linux/x11/windows/EwmhWindows.h"

namespace {

void waitForTheEndOf(GDBusConnection* bus) {
  while (!g_dbus_connection_is_closed(bus)) g_usleep(1000);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace

int main() {
  // Held as another part of a program might.
  auto* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  tevanto::DesktopWorkspace workspace(tevanto::DesktopFolders::fromEnvironment(), {}, tevanto::raiseWindowOf,
                                      tevanto::Logger(tevanto::LogSink::standardError(), "workspace"));
  std::string how;
  std::string location;
  while (std::cin >> how && std::cin.ignore() && std::getline(std::cin, location)) {
    if (how == "end") {
      waitForTheEndOf(bus);
      std::cout << "ended" << std::endl;
      continue;
    }
    using Activation = tevanto::Workspace::Activation;
    workspace.open(location, how == "activate" ? Activation::activate : Activation::systemDefault);
    std::cout << "opened" << std::endl;
  }
  if (bus) g_object_unref(bus);
}
