#include "platform/linux/display/CompositorReach.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/Descriptor.h"

namespace tevanto {
namespace {

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

bool canReachCompositor() {
  const auto name = fromEnvironment("WAYLAND_DISPLAY");
  if (name.empty()) return false;
  const auto path = (std::filesystem::path(fromEnvironment("XDG_RUNTIME_DIR")) / name).string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) return false;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return socket.get() >= 0 &&
         ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

}  // namespace tevanto
