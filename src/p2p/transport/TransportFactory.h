#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "p2p/ice/IceServerSource.h"
#include "p2p/transport/WebRTCTransport.h"

namespace tevanto {

/// TransportFactory makes the transports of one program from the parts that they share. Each transport gets
/// its own relay and cloud client, and its ICE servers.
class TransportFactory : public std::enable_shared_from_this<TransportFactory> {
 public:
  struct Environment {
    std::function<std::shared_ptr<SerialQueue>(const std::string& label)> makeQueue;
    std::shared_ptr<SerialQueue> mainQueue;
    std::shared_ptr<PeerConnectionFactory> peers;
    std::function<std::shared_ptr<RelaySignaling>()> makeRelay;
    std::function<std::shared_ptr<CloudSignaling>()> makeCloud;
    std::shared_ptr<IceServerSource> iceServers;
    std::function<void(const std::vector<RemoteIceServerConfig>&)> rememberIceServers;
    Logger log = {};
  };

  /// A transport, and the function that starts it on the main queue once its callbacks are set.
  struct Made {
    std::shared_ptr<WebRTCTransport> transport;
    std::function<void()> start;
    /// Calls `aged`, on the main queue, when an answerer has waited for so long that its servers are no
    /// longer fresh, and nobody has called meanwhile: another one would be given new ones. Empty for an
    /// offerer.
    std::function<void(std::function<void()> aged)> whenAged = {};
  };

  explicit TransportFactory(Environment environment) : environment_(std::move(environment)) {}

  /// For the computer: it may wait for a phone for days and takes no servers later. So it loads the servers
  /// first and reports when they have aged.
  Made makeAnswerer(const std::string& room);
  /// How long a phone waits for the credential service before it starts without TURN.
  static constexpr std::chrono::seconds kTimeout{1};

  /// For the phone: it asks the credential service for TURN servers with a short timeout, since a user waits.
  /// It starts again with servers that come later, also with those that the computer lends through the cloud.
  /// Waiting is better than a restart: an answer to the first offer that arrives after a second offer is of
  /// no use.
  Made makeOfferer(const std::string& room);

 private:
  struct Offerer {
    std::weak_ptr<WebRTCTransport> transport;
    std::weak_ptr<CloudSignaling> cloud;

    void start(std::vector<RemoteIceServerConfig> servers) const;
    void upgrade(std::vector<RemoteIceServerConfig> servers) const;
    void borrowServers() const;
  };

  /// How long an answerer waits.
  struct Wait {
    std::function<void()> aged;
    Timer timer;
  };

  void watchAge(const std::shared_ptr<Wait>& wait, const std::weak_ptr<WebRTCTransport>& transport);
  void startWithLateServers(const Offerer& offerer);
  Made make(TransportRole role, const std::string& room, WebRTCTransport::Profile profile,
            std::shared_ptr<CloudSignaling> cloud);

  const Environment environment_;
};

}  // namespace tevanto
