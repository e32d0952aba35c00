#include <iostream>

#include "platform/linux/webrtc/LoadedPeers.h"

// Says whether the module of the peer connections can be loaded from where this program lies.
int main() {
  tevanto::LoadedPeers peers({});
  const auto loaded = peers.load();
  if (loaded) return 0;
  std::cout << loaded.error() << '\n' << (peers.create({}, {}) ? "a peer" : "no peer") << '\n';
  return 1;
}
