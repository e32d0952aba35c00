#include "app/runtime/LocalAddresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <array>

namespace tevanto {
namespace {

std::string textOf(int family, const void* address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  return ::inet_ntop(family, address, text.data(), text.size()) ? text.data() : "";
}

}  // namespace

std::vector<std::string> localAddresses() {
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0) return {};
  std::vector<std::string> version4;
  std::vector<std::string> version6;
  for (const auto* entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (!entry->ifa_addr || (entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0)
      continue;
    if (entry->ifa_addr->sa_family == AF_INET) {
      version4.push_back(textOf(AF_INET, &reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr));
    } else if (entry->ifa_addr->sa_family == AF_INET6) {
      const auto& address = reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr)->sin6_addr;
      if (!IN6_IS_ADDR_LINKLOCAL(&address)) version6.push_back(textOf(AF_INET6, &address));
    }
  }
  ::freeifaddrs(first);
  version4.insert(version4.end(), version6.begin(), version6.end());
  return version4;
}

}  // namespace tevanto
