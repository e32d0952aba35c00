#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "p2p/ice/RemoteIceServerConfig.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/web/TestAuthority.h"

namespace tevanto::test {

class NetworkNamespace;

/// A real TURN server (coturn) with time-limited credentials, as a credential service hands them out: the
/// user name begins with the second since 1970 at which it ends, the credential is the Base64 of its
/// HMAC-SHA1.
class TurnServer {
 public:
  struct Options {
    /// Where it listens and relays.
    std::string address = "127.0.0.1";
    /// On any free one where it is 0, which only works on this machine's own network.
    std::uint16_t port = 0;
    std::string secret = "a secret of the tests";
    /// Where it runs, if not here.
    const NetworkNamespace* network = nullptr;
    bool udp = true;
    bool tcp = true;
    /// With it, and nothing but TLS then.
    std::optional<TestIdentity> identity = {};
  };

  /// Starts it and waits until it listens; throws with its log when it does not come up.
  TurnServer() : TurnServer(Options()) {}
  explicit TurnServer(Options options);
  ~TurnServer();
  TurnServer(const TurnServer&) = delete;
  TurnServer& operator=(const TurnServer&) = delete;

  const std::string& address() const { return options_.address; }
  std::uint16_t port() const { return port_; }
  const std::string& secret() const { return options_.secret; }
  /// "turn:address:port?transport=udp" or "tcp"; "turns:" with this machine's name where it has an identity.
  std::string url(const std::string& transport) const;
  /// With credentials that are valid for the given time from now, or since that time no more.
  RemoteIceServerConfig iceServer(const std::string& transport, int validSeconds = 3600) const;

  pid_t pid() const { return server_->pid(); }
  /// SIGKILL.
  void kill();
  /// Again after `kill`, on the same port.
  void start();
  std::string log() const;

 private:
  void startOn(std::uint16_t port);
  std::vector<std::string> command(std::uint16_t port) const;

  const Options options_;
  std::uint16_t port_ = 0;
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> server_;
};

}  // namespace tevanto::test
