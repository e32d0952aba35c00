#include "phone/connection/LocalRoute.h"

#include "phone/connection/LineSocket.h"
#include "phone/connection/ScreenSocket.h"

namespace tevanto::phone {

Answer<std::unique_ptr<LineChannel>> LocalRoute::connect(const Target& target, const GivesUp&) {
  const auto& endpoint = target.endpoint;
  std::string reason = "no address";
  for (const auto& host : endpoint.hosts) {
    auto socket = LineSocket::connect(host, endpoint.port, std::chrono::steady_clock::now() + timeout_);
    if (socket) return std::unique_ptr<LineChannel>(std::move(socket).value());
    reason = socket.error();
  }
  return Trouble{ExitCode::notFound, "No companion answers at " + endpoint.text() + " (" + reason +
                                         "). Is it running? `tevanto-phone discover` lists what is there."};
}

Answer<Target> LocalRoute::findScreen(const std::optional<Endpoint>& screenHost,
                                      const std::optional<std::string>& deviceID) const {
  if (!screenHost) return finder_.findScreen(deviceID);
  return Target{*screenHost, deviceID ? deviceID : finder_.pairedAt(*screenHost)};
}

Answer<std::unique_ptr<ScreenChannel>> LocalRoute::connectScreen(const Target& target, const GivesUp&) {
  auto socket = ScreenSocket::connect(target.endpoint, timeout_);
  if (!socket) return socket.trouble();
  return std::unique_ptr<ScreenChannel>(std::move(*socket));
}

}  // namespace tevanto::phone
