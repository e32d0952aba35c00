#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tevanto::relay {

/// RelayLimits bound the cost of one client. The defaults suit a small server and are those of
/// docs/protocol.md, section 9.2. A session's negotiation takes a few dozen messages of some kilobytes.
struct RelayLimits {
  std::size_t maxMessageBytes = 256 * 1024;
  /// Messages and pings a second from one connection, on average and at once.
  double messagesPerSecond = 50;
  double messageBurst = 200;
  /// For one IPv4 address or one IPv6 network of 64 bits; 0: as many as come. Many people may share an
  /// address behind their carrier's translation.
  std::size_t connectionsPerAddress = 256;
  /// Over all addresses; 0: as many as come.
  std::size_t connections = 0;
  /// The bytes that may wait for a client that does not read.
  std::size_t maxUnsentBytes = 1024 * 1024;
  std::chrono::milliseconds pingInterval{25'000};
  int unansweredPings = 2;
  /// From the accepted connection to the whole head of its request, TLS included.
  std::chrono::milliseconds requestTimeout{10'000};
  /// For the other side to answer a close frame, or to take the answer to a request.
  std::chrono::milliseconds closeTimeout{2'000};
};

/// TurnOptions are the TURN servers that clients are told, and the making of their credentials.
struct TurnOptions {
  /// The secret shared with the TURN server; without one no credentials are handed out.
  std::string secret;
  std::vector<std::string> urls;
  std::vector<std::string> stunUrls;
  /// Clients keep credentials for 45 minutes and a session may ask for another allocation much later.
  std::chrono::seconds lifetime{12 * 60 * 60};
  /// Stands behind the expiry in the user name, for the TURN server's log.
  std::string userName;
};

struct RelayOptions {
  /// Addresses to listen on; none: all of IPv4 and, where there is any, of IPv6.
  std::vector<std::string> addresses;
  /// 0: any free one.
  std::uint16_t port = 8787;
  /// PEM files; both or none.
  std::string certificateFile;
  std::string privateKeyFile;
  /// Addresses and networks ("10.0.0.0/8") whose X-Forwarded-For is believed.
  std::vector<std::string> trustedProxies;
  TurnOptions turn;
  RelayLimits limits;

  bool usesTls() const { return !certificateFile.empty(); }
};

}  // namespace tevanto::relay
