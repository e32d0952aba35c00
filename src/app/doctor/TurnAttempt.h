#pragma once

#include <string>

#include "core/Result.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

class PeerConnectionFactory;

/// Lets a peer of the engine allocate an address at the TURN server, which is known by one URL. Returns the
/// finding, or one sentence with the remedy. Blocks for 8 seconds, or a little more.
Result<std::string> tryTurn(PeerConnectionFactory& peers, const RemoteIceServerConfig& server);

}  // namespace tevanto
