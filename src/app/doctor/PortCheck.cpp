#include "app/doctor/PortCheck.h"

#include "app/ipc/IpcClient.h"
#include "app/ipc/RuntimeFolder.h"
#include "core/queue/EventLoop.h"
#include "net/tcp/AsioTcpListenerFactory.h"

namespace tevanto {
namespace {

/// Whether the companion that runs for this user has this port.
bool isOurCompanions(std::uint16_t port) {
  const auto folder = runtimeFolder();
  if (!folder) return false;
  const auto answer = askCompanion(ipcSocketIn(folder.value()), {});
  if (!answer || !answer.value() || !answer.value()->status) return false;
  const auto& status = *answer.value()->status;
  return status.remotePort == port || status.screenPort == port;
}

}  // namespace

Result<std::string> tryPort(std::uint16_t port, const std::string& option) {
  const auto name = "port " + std::to_string(port);
  if (port != 0 && isOurCompanions(port)) return name + " is our running companion's";
  const auto loop = EventLoop::forCallingThread();
  const auto listener = AsioTcpListenerFactory(loop, ListenScope::everywhere).listen(port);
  if (listener) return name + " is free";
  return Failure{listener.error() + " End the program that has it, or choose another port with " + option +
                 "."};
}

}  // namespace tevanto
