#include "relay/ClientAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace tevanto::relay {
namespace {

constexpr std::array<unsigned char, 12> kMappedPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr int kAddressBits = 128;
constexpr int kMappedBits = 96;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t";
  const auto first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// Without the port that some proxies append ("[::1]:80", "10.0.0.1:80").
std::string_view withoutPort(std::string_view text) {
  if (text.starts_with('[')) return text.substr(1, text.find(']') - 1);
  const auto colon = text.find(':');
  if (colon != std::string_view::npos && text.find(':', colon + 1) == std::string_view::npos)
    return text.substr(0, colon);
  return text;
}

std::optional<int> bitsFrom(std::string_view text, int most) {
  int bits = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bits);
  if (error != std::errc() || end != text.data() + text.size() || bits < 0 || bits > most)
    return std::nullopt;
  return bits;
}

bool sameBits(const IpAddress& a, const IpAddress& b, int bits) {
  const auto whole = static_cast<std::size_t>(bits / 8);
  if (!std::equal(a.bytes.begin(), a.bytes.begin() + bits / 8, b.bytes.begin())) return false;
  const int rest = bits % 8;
  return rest == 0 || ((a.bytes[whole] ^ b.bytes[whole]) >> (8 - rest)) == 0;
}

}  // namespace

std::optional<IpAddress> IpAddress::parse(std::string_view text) {
  const std::string terminated(text.substr(0, text.find('%')));  // no scope
  IpAddress address;
  if (::inet_pton(AF_INET6, terminated.c_str(), address.bytes.data()) == 1) return address;
  std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), address.bytes.begin());
  if (::inet_pton(AF_INET, terminated.c_str(), address.bytes.data() + kMappedPrefix.size()) == 1)
    return address;
  return std::nullopt;
}

bool IpAddress::isV4() const { return std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), bytes.begin()); }

std::string IpAddress::clientKey() const {
  const auto* begin = reinterpret_cast<const char*>(bytes.data());
  return isV4() ? std::string(begin, bytes.size()) : std::string(begin, bytes.size() / 2);
}

Result<TrustedProxies> TrustedProxies::parse(const std::vector<std::string>& texts) {
  TrustedProxies trusted;
  for (const auto& text : texts) {
    const auto slash = text.find('/');
    const auto address = IpAddress::parse(std::string_view(text).substr(0, slash));
    if (!address) return Failure{"\"" + text + "\" is no address and no network of trusted proxies."};
    const int above = address->isV4() ? kMappedBits : 0;
    std::optional<int> bits = kAddressBits - above;
    if (slash != std::string::npos)
      bits = bitsFrom(std::string_view(text).substr(slash + 1), kAddressBits - above);
    if (!bits) return Failure{"\"" + text + "\" is no network of trusted proxies."};
    trusted.networks_.push_back({*address, above + *bits});
  }
  return trusted;
}

bool TrustedProxies::contains(const IpAddress& address) const {
  return std::any_of(networks_.begin(), networks_.end(), [&](const Network& network) {
    return sameBits(network.address, address, network.bits);
  });
}

IpAddress TrustedProxies::clientOf(const IpAddress& peer, std::string_view forwardedFor) const {
  IpAddress client = peer;
  while (contains(client) && !forwardedFor.empty()) {
    const auto comma = forwardedFor.rfind(',');
    const auto last = comma == std::string_view::npos ? forwardedFor : forwardedFor.substr(comma + 1);
    forwardedFor = comma == std::string_view::npos ? std::string_view() : forwardedFor.substr(0, comma);
    const auto address = IpAddress::parse(withoutPort(trimmed(last)));
    if (!address) break;
    client = *address;
  }
  return client;
}

}  // namespace tevanto::relay
