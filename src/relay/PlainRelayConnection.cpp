#include "relay/AsioRelayConnection.h"
#include "relay/AsioRelayStream.h"

namespace tevanto::relay {

std::shared_ptr<RelayConnection> makePlainRelayConnection(std::shared_ptr<RelayContext> context,
                                                          AsioSocket socket, const IpAddress& peer) {
  return std::make_shared<AsioRelayStream<AsioSocket>>(std::move(context), peer, std::move(socket));
}

}  // namespace tevanto::relay
