#include "platform/linux/desktop/applications/ApplicationLauncher.h"

#include <gio/gdesktopappinfo.h>
#include <signal.h>
#include <unistd.h>

#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

/// Runs between fork and exec: system calls only.
void beginSession(void*) {
  ::setsid();
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The session bus as GIO is going to use it for the launch. By default the end of that bus would end this
/// program; the connection is shared for as long as somebody holds it.
GObjectOwned<GDBusConnection> harmlessSessionBus() {
  GObjectOwned<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  return bus;
}

}  // namespace

Result<void> launchApplication(const std::string& path) {
  const GObjectOwned<GDesktopAppInfo> application(g_desktop_app_info_new_from_filename(path.c_str()));
  if (!application) return Failure{"The application is no longer installed."};
  const auto bus = harmlessSessionBus();
  const GObjectOwned<GAppLaunchContext> context(g_app_launch_context_new());
  const auto flags =
      static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
  GError* error = nullptr;
  if (g_desktop_app_info_launch_uris_as_manager(application.get(), nullptr, context.get(), flags,
                                                beginSession, nullptr, nullptr, nullptr, &error)) {
    return {};
  }
  Failure failure{error->message};
  g_error_free(error);
  return failure;
}

}  // namespace tevanto
