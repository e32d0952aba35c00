#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// FoundService is a service found on the local network, resolved to where it can be reached.
struct FoundService {
  std::string name;
  std::string hostName;
  std::vector<std::string> addresses;  // textual, IPv6 link-local ones with their scope ("fe80::1%eth0")
  std::uint16_t port = 0;
  std::map<std::string, std::string> txt;

  bool operator==(const FoundService&) const = default;
};

/// ServiceBrowser looks for services on the local network.
class ServiceBrowser {
 public:
  virtual ~ServiceBrowser() = default;
  /// Blocks for at most `wait` and returns the services that answered. Returns early once the daemon knows of
  /// no more.
  virtual Result<std::vector<FoundService>> browse(const std::string& type,
                                                   std::chrono::milliseconds wait) = 0;
};

}  // namespace tevanto
