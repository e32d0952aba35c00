#pragma once

#include <optional>
#include <string>

#include "tests/support/network/NetworkNamespace.h"

namespace tevanto::test {

/// Which of its own ports a router lends to those behind it.
enum class PortMapping {
  kept,   // the sender's own, whoever it talks to: both ends know where the other will be heard
  random  // another one for each that it talks to: nobody else can know it
};

/// A router as homes have them, with one network behind it: what goes out bears the router's own address, and
/// nothing comes in that was not asked for from inside. Made with the kernel's nftables.
///
///     inside ───────────── router ─────── (eth0, to be connected)
///     eth0, `address`      192.168.1.1
///
/// Every such network has the same addresses, as homes do.
class NatRouter {
 public:
  /// Why there can be none here, if so. Needs root.
  static std::optional<std::string> missing();

  NatRouter(const NetworkNamespace& inside, const std::string& address, PortMapping mapping);

  /// Where its outer interface is, "eth0".
  const NetworkNamespace& network() const { return network_; }

 private:
  NetworkNamespace network_{"router"};
};

}  // namespace tevanto::test
