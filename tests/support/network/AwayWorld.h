#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/network/NatRouter.h"
#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/network/PacketBridge.h"
#include "tests/support/network/TurnServer.h"
#include "tests/support/programs/ChildProcess.h"

namespace tevanto::test {

/// The world outside the local network, on one machine: the home where the companion is, the network where
/// the phone is, and the internet between them with a relay and a TURN server.
///
///     home ───────── internet ───────── (line) ───────── away
///     10.8.1.2       10.8.1.1   10.8.2.1                 10.8.2.2
///                    10.8.0.1: relay :8787, TURN :3478
///
/// Home and away reach the internet; one another only while there is a route. With routers, each of the two
/// has a private address behind one, which has the address that is shown here.
class AwayWorld {
 public:
  static constexpr const char* kHomeAddress = "10.8.1.2";
  static constexpr const char* kServerAddress = "10.8.0.1";
  static constexpr const char* kRelayURL = "ws://10.8.0.1:8787";

  static bool permitted() { return NetworkNamespace::permitted(); }
  explicit AwayWorld(std::optional<PortMapping> routers = std::nullopt);

  const NetworkNamespace& home() const { return home_; }
  const NetworkNamespace& internet() const { return internet_; }
  const NetworkNamespace& away() const { return away_; }
  /// The line by which `away` hangs on the internet.
  PacketBridge& line() { return *line_; }

  /// Whether packets go between home and away, other than by TURN.
  void setRoute(bool exists) { internet_.setForwarding(exists); }
  /// The relay and the TURN server that it hands out credentials for. `program` is tevanto-relay, which is
  /// given `options` in addition.
  void startServers(const std::string& program, const std::vector<std::string>& options = {});
  /// SIGKILL.
  void killRelay() { relay_.reset(); }
  void startRelay(const std::string& program, const std::vector<std::string>& options = {});
  TurnServer& turn() { return *turn_; }
  /// Gives the companion's computer another address; the one that it had is gone.
  void moveHome(const std::string& address);

 private:
  NetworkNamespace home_{"home"};
  NetworkNamespace internet_{"internet"};
  NetworkNamespace middle_{"line"};
  NetworkNamespace away_{"away"};
  std::unique_ptr<NatRouter> homeRouter_;
  std::unique_ptr<NatRouter> awayRouter_;
  std::unique_ptr<PacketBridge> line_;
  std::unique_ptr<TurnServer> turn_;
  std::unique_ptr<ChildProcess> relay_;
};

}  // namespace tevanto::test
