#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"

namespace tevanto::relay {

/// An IP address in the form of IPv6; one of IPv4 is mapped into it (RFC 4291, section 2.5.5.2), so that both
/// compare alike.
struct IpAddress {
  std::array<unsigned char, 16> bytes{};

  static std::optional<IpAddress> parse(std::string_view text);
  bool isV4() const;
  /// The key of one client: an IPv4 address, or the IPv6 network of 64 bits that a household has.
  std::string clientKey() const;

  bool operator==(const IpAddress&) const = default;
};

/// The networks whose word about a client's address counts.
class TrustedProxies {
 public:
  TrustedProxies() = default;
  /// From addresses and networks ("10.0.0.0/8", "fd00::/8").
  static Result<TrustedProxies> parse(const std::vector<std::string>& texts);

  bool contains(const IpAddress& address) const;
  /// Whom a request comes from: the peer itself, unless it is trusted; then the last address of
  /// X-Forwarded-For that is not trusted as well, since everything before it is hearsay.
  IpAddress clientOf(const IpAddress& peer, std::string_view forwardedFor) const;

 private:
  struct Network {
    IpAddress address;
    int bits;
  };
  std::vector<Network> networks_;
};

}  // namespace tevanto::relay
