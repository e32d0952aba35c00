#pragma once

namespace tevanto {

class PeerConnectionFactory;
struct PeerEngineOptions;

/// The module that holds the engine of the peer connections, and the function in it that makes the factory,
/// which the caller owns.
inline constexpr auto* kPeerModule = "peers";
inline constexpr auto* kMakePeers = "tevantoMakePeers";
using MakePeers = PeerConnectionFactory* (*)(const PeerEngineOptions& options);

}  // namespace tevanto
