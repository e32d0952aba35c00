#include "tests/support/network/AwayWorld.h"

#include <stdexcept>

namespace tevanto::test {

AwayWorld::AwayWorld(std::optional<PortMapping> routers) {
  if (routers) {
    homeRouter_ = std::make_unique<NatRouter>(home_, "192.168.1.2", *routers);
    awayRouter_ = std::make_unique<NatRouter>(away_, "192.168.1.3", *routers);
  }
  const auto& home = homeRouter_ ? homeRouter_->network() : home_;
  const auto& away = awayRouter_ ? awayRouter_->network() : away_;
  NetworkNamespace::connect(home, "eth0", internet_, "home0");
  NetworkNamespace::connect(away, "eth0", middle_, "outer");
  NetworkNamespace::connect(internet_, "away0", middle_, "inner");
  internet_.run({"ip", "address", "add", std::string(kServerAddress) + "/32", "dev", "lo"});
  internet_.run({"ip", "address", "add", "10.8.1.1/24", "dev", "home0"});
  internet_.run({"ip", "address", "add", "10.8.2.1/24", "dev", "away0"});
  // Private addresses lead nowhere on the internet. Not by an error: the TURN server would take that for the
  // end of an allocation.
  internet_.run({"ip", "route", "add", "192.168.0.0/16", "dev", "lo"});
  home.run({"ip", "address", "add", std::string(kHomeAddress) + "/24", "dev", "eth0"});
  home.run({"ip", "route", "add", "default", "via", "10.8.1.1"});
  away.run({"ip", "address", "add", "10.8.2.2/24", "dev", "eth0"});
  away.run({"ip", "route", "add", "default", "via", "10.8.2.1"});
  line_ = std::make_unique<PacketBridge>(middle_, "outer", "inner");
  setRoute(false);
}

void AwayWorld::startServers(const std::string& program, const std::vector<std::string>& options) {
  TurnServer::Options turn;
  turn.address = kServerAddress;
  turn.port = 3478;
  turn.network = &internet_;
  turn_ = std::make_unique<TurnServer>(std::move(turn));
  startRelay(program, options);
}

void AwayWorld::startRelay(const std::string& program, const std::vector<std::string>& options) {
  std::vector<std::string> command{program, "--port", "8787", "--turn-secret", turn_->secret()};
  for (const auto* transport : {"udp", "tcp"})
    command.insert(command.end(), {"--turn-url", turn_->url(transport)});
  command.insert(command.end(), options.begin(), options.end());
  relay_ = std::make_unique<ChildProcess>(internet_.inside(std::move(command)));
  const auto said = relay_->readLine();
  if (!said || !said->starts_with("listening on")) throw std::runtime_error("the relay does not come up");
}

void AwayWorld::moveHome(const std::string& address) {
  // In this order: an address goes together with those of the same network that came after it.
  home_.run({"ip", "address", "del", std::string(kHomeAddress) + "/24", "dev", "eth0"});
  home_.run({"ip", "address", "add", address + "/24", "dev", "eth0"});
  home_.run({"ip", "route", "replace", "default", "via", "10.8.1.1"});
}

}  // namespace tevanto::test
