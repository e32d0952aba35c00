#include "tests/support/network/NatRouter.h"

namespace tevanto::test {
namespace {

constexpr const char* kOwnAddress = "192.168.1.1";

std::string rules(PortMapping mapping) {
  const std::string ports = mapping == PortMapping::random ? " fully-random" : "";
  return "add table ip router;"
         "add chain ip router outgoing { type nat hook postrouting priority 100; };"
         "add rule ip router outgoing oifname eth0 masquerade" +
         ports +
         ";"
         // Without a word, and before it is taken note of: a port at which somebody has knocked too early
         // would be taken when the one inside wants to keep it.
         "add chain ip router incoming { type filter hook input priority 0; };"
         "add rule ip router incoming iifname eth0 ct state new drop";
}

}  // namespace

std::optional<std::string> NatRouter::missing() {
  const NetworkNamespace probe("probe");
  const auto tried = runProgram(probe.inside({"nft", rules(PortMapping::random)}), {.mergeErrors = true});
  if (tried.exitStatus == 0) return std::nullopt;
  return "no address translation by nftables: " + tried.output;
}

NatRouter::NatRouter(const NetworkNamespace& inside, const std::string& address, PortMapping mapping) {
  NetworkNamespace::connect(inside, "eth0", network_, "inside");
  network_.run({"ip", "address", "add", std::string(kOwnAddress) + "/24", "dev", "inside"});
  inside.run({"ip", "address", "add", address + "/24", "dev", "eth0"});
  inside.run({"ip", "route", "add", "default", "via", kOwnAddress});
  network_.run({"nft", rules(mapping)});
  network_.setForwarding(true);
}

}  // namespace tevanto::test
