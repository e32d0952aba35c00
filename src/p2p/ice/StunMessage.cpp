#include "p2p/ice/StunMessage.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstdint>

namespace tevanto {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::uint16_t kBindingRequest = 0x0001;
constexpr std::uint16_t kBindingSuccess = 0x0101;
constexpr std::uint16_t kBindingError = 0x0111;
constexpr std::uint16_t kErrorCode = 0x0009;
constexpr std::uint16_t kXorMappedAddress = 0x0020;
constexpr std::array<std::byte, 4> kCookie{std::byte{0x21}, std::byte{0x12}, std::byte{0xA4},
                                           std::byte{0x42}};
constexpr std::size_t kTransactionAt = 8;
constexpr std::size_t kAttributeHeaderBytes = 4;
constexpr std::byte kFamilyIPv4{1};
constexpr std::byte kFamilyIPv6{2};

std::uint16_t number(Bytes bytes, std::size_t at) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[at]) << 8 |
                                    std::to_integer<unsigned>(bytes[at + 1]));
}

void put(std::span<std::byte> bytes, std::size_t at, std::uint16_t value) {
  bytes[at] = static_cast<std::byte>(value >> 8);
  bytes[at + 1] = static_cast<std::byte>(value & 0xFF);
}

bool isAnswerTo(Bytes datagram, const StunTransaction& transaction) {
  if (datagram.size() < kStunHeaderBytes || datagram.size() % 4 != 0) return false;
  return number(datagram, 2) == datagram.size() - kStunHeaderBytes &&
         std::equal(kCookie.begin(), kCookie.end(), datagram.begin() + 4) &&
         std::equal(transaction.begin(), transaction.end(), datagram.begin() + kTransactionAt);
}

/// The value of the first attribute of this type; only the first counts.
std::optional<Bytes> attribute(Bytes attributes, std::uint16_t type) {
  while (attributes.size() >= kAttributeHeaderBytes) {
    const auto length = number(attributes, 2);
    const std::size_t padded = (length + 3U) & ~std::size_t{3};
    if (padded > attributes.size() - kAttributeHeaderBytes) return std::nullopt;
    if (number(attributes, 0) == type) return attributes.subspan(kAttributeHeaderBytes, length);
    attributes = attributes.subspan(kAttributeHeaderBytes + padded);
  }
  return std::nullopt;
}

/// reserved 8 | family 8 | port 16 | address 32 or 128. Port and address are combined with the cookie and,
/// behind it, the transaction, so that routers that rewrite addresses do not find them.
std::optional<std::string> mappedAddress(Bytes value, const StunTransaction& transaction) {
  if (value.size() < 4) return std::nullopt;
  const bool isIPv4 = value[1] == kFamilyIPv4 && value.size() == 8;
  const bool isIPv6 = value[1] == kFamilyIPv6 && value.size() == 20;
  if (!isIPv4 && !isIPv6) return std::nullopt;
  std::array<std::byte, 16> address{};
  for (std::size_t i = 0; i + 4 < value.size(); ++i)
    address[i] = value[i + 4] ^ (i < kCookie.size() ? kCookie[i] : transaction[i - kCookie.size()]);
  const auto port = number(value, 2) ^ number(kCookie, 0);
  char text[INET6_ADDRSTRLEN] = {};
  if (!::inet_ntop(isIPv4 ? AF_INET : AF_INET6, address.data(), text, sizeof text)) return std::nullopt;
  return (isIPv4 ? std::string(text) : "[" + std::string(text) + "]") + ":" + std::to_string(port);
}

/// reserved 16 | reserved 5, hundreds 3 | the rest of the number 8 | a text.
std::optional<int> errorCode(Bytes value) {
  if (value.size() < 4) return std::nullopt;
  const auto hundreds = std::to_integer<int>(value[2]) & 7;
  const auto rest = std::to_integer<int>(value[3]);
  return hundreds >= 3 && hundreds <= 6 && rest < 100 ? std::optional(hundreds * 100 + rest) : std::nullopt;
}

}  // namespace

std::array<std::byte, kStunHeaderBytes> stunBindingRequest(const StunTransaction& transaction) {
  std::array<std::byte, kStunHeaderBytes> request{};
  put(request, 0, kBindingRequest);
  std::copy(kCookie.begin(), kCookie.end(), request.begin() + 4);
  std::copy(transaction.begin(), transaction.end(), request.begin() + kTransactionAt);
  return request;
}

std::optional<StunAnswer> readStunAnswer(Bytes datagram, const StunTransaction& transaction) {
  if (!isAnswerTo(datagram, transaction)) return std::nullopt;
  const auto type = number(datagram, 0);
  const auto attributes = datagram.subspan(kStunHeaderBytes);
  if (type == kBindingSuccess) {
    const auto value = attribute(attributes, kXorMappedAddress);
    auto address = value ? mappedAddress(*value, transaction) : std::nullopt;
    return address ? std::optional(StunAnswer{std::move(*address), 0}) : std::nullopt;
  }
  const auto value = type == kBindingError ? attribute(attributes, kErrorCode) : std::nullopt;
  const auto code = value ? errorCode(*value) : std::nullopt;
  return code ? std::optional(StunAnswer{{}, *code}) : std::nullopt;
}

}  // namespace tevanto
