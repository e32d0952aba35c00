#include "relay/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <fstream>
#include <iostream>
#include <iterator>

namespace tevanto::relay {
namespace {

constexpr int kWrongUsage = 2;
constexpr const char* kClosing =
    "Each connection is one open file. The relay raises its limit as far as it may (\"ulimit -Hn\"; with\n"
    "systemd, LimitNOFILE=) and accepts no more connections than that.\n\n"
    "SIGTERM and SIGINT end it, telling every client; SIGHUP reads the certificate files again.\n"
    "Exit status: 0 ended as asked, 1 failed, 2 wrong usage.";

class Parser {
 public:
  Parser()
      : app_("The meeting place of companions and phones that are away from each other.", "tevanto-relay") {
    app_.set_version_flag("--version", "tevanto-relay " TEVANTO_VERSION, "Print the version and end");
    app_.footer(kClosing);
    app_.option_defaults()->always_capture_default();
    addListening();
    addTurn();
    addLimits();
  }

  Invocation parse(int argc, const char* const* argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
      return EndNow{app_.exit(end) == 0 ? 0 : kWrongUsage};
    }
    if (!secretFile_.empty() && !readSecret()) return EndNow{kWrongUsage};
    return options_;
  }

 private:
  void addListening() {
    list("--listen", options_.addresses, "TEVANTO_RELAY_LISTEN",
         "Addresses to listen on (default: all of this machine)");
    app_.add_option("--port", options_.port, "TCP port; 0: any free one, printed at the start")
        ->envname("TEVANTO_RELAY_PORT");
    app_.add_option("--certificate", options_.certificateFile, "Certificate chain for TLS, a PEM file")
        ->envname("TEVANTO_RELAY_CERTIFICATE");
    app_.add_option("--private-key", options_.privateKeyFile, "Its private key, a PEM file")
        ->envname("TEVANTO_RELAY_PRIVATE_KEY");
    list("--trusted-proxy", options_.trustedProxies, "TEVANTO_RELAY_TRUSTED_PROXIES",
         "Addresses or networks of proxies whose X-Forwarded-For is believed");
  }

  void addTurn() {
    list("--turn-url", options_.turn.urls, "TEVANTO_RELAY_TURN_URLS",
         "URLs of the TURN server, such as turn:turn.example.org:3478?transport=udp");
    list("--stun-url", options_.turn.stunUrls, "TEVANTO_RELAY_STUN_URLS",
         "URLs of STUN servers to tell as well");
    app_.add_option("--turn-secret", options_.turn.secret,
                    "The secret shared with the TURN server (others on this machine see a flag; use the "
                    "environment or a file)")
        ->envname("TEVANTO_RELAY_TURN_SECRET")
        ->always_capture_default(false);
    app_.add_option("--turn-secret-file", secretFile_, "A file that holds the secret")
        ->envname("TEVANTO_RELAY_TURN_SECRET_FILE");
    app_.add_option_function<long>(
            "--turn-lifetime",
            [this](long seconds) { options_.turn.lifetime = std::chrono::seconds(seconds); },
            "How long credentials are good for")
        ->envname("TEVANTO_RELAY_TURN_LIFETIME")
        ->check(CLI::Range(60L, 30L * 24 * 60 * 60))
        ->type_name("SECONDS")
        ->default_str(std::to_string(options_.turn.lifetime.count()));
    app_.add_option("--turn-user", options_.turn.userName,
                    "A name behind the expiry, for the TURN server's log")
        ->envname("TEVANTO_RELAY_TURN_USER");
  }

  void addLimits() {
    auto& limits = options_.limits;
    app_.add_option("--max-connections-per-address", limits.connectionsPerAddress,
                    "Connections of one IPv4 address or one IPv6 network of 64 bits; 0: no limit")
        ->envname("TEVANTO_RELAY_MAX_CONNECTIONS_PER_ADDRESS");
    app_.add_option("--max-connections", limits.connections,
                    "Connections in all; 0: as many as files may be open")
        ->envname("TEVANTO_RELAY_MAX_CONNECTIONS");
    app_.add_option("--message-rate", limits.messagesPerSecond,
                    "Messages a second of one connection, on average")
        ->envname("TEVANTO_RELAY_MESSAGE_RATE")
        ->check(CLI::Range(0.1, 1e6));
    app_.add_option("--message-burst", limits.messageBurst, "Messages at once of one connection")
        ->envname("TEVANTO_RELAY_MESSAGE_BURST")
        ->check(CLI::Range(1.0, 1e6));
    seconds("--ping-interval", limits.pingInterval, "TEVANTO_RELAY_PING_INTERVAL",
            "Time between pings; after two without an answer a client is gone");
    seconds("--request-timeout", limits.requestTimeout, "TEVANTO_RELAY_REQUEST_TIMEOUT",
            "Time for a client to send its request");
  }

  /// Seconds outside, milliseconds inside.
  void seconds(const std::string& name, std::chrono::milliseconds& target, const std::string& variable,
               const std::string& meaning) {
    app_.add_option_function<double>(
            name, [&target](double value) { target = std::chrono::milliseconds(std::lround(value * 1000)); },
            meaning)
        ->envname(variable)
        ->check(CLI::Range(0.01, 86400.0))
        ->type_name("SECONDS")
        ->default_str(std::to_string(target.count() / 1000));
  }

  /// Several times, or several with commas between.
  void list(const std::string& name, std::vector<std::string>& target, const std::string& variable,
            const std::string& meaning) {
    app_.add_option(name, target, meaning)->envname(variable)->delimiter(',')->always_capture_default(false);
  }

  bool readSecret() {
    std::ifstream file(secretFile_, std::ios::binary);
    std::string secret(std::istreambuf_iterator<char>(file), {});
    // An editor ends a file with a line feed that is no part of the secret.
    while (!secret.empty() && (secret.back() == '\n' || secret.back() == '\r')) secret.pop_back();
    if (!file.is_open() || secret.empty()) {
      std::cerr << "tevanto-relay: there is no secret in " << secretFile_
                << "; it has to hold the TURN server's static-auth-secret\n";
      return false;
    }
    options_.turn.secret = std::move(secret);
    return true;
  }

  RelayOptions options_;
  std::string secretFile_;
  CLI::App app_;
};

}  // namespace

Invocation parseCommandLine(int argc, const char* const* argv) { return Parser().parse(argc, argv); }

}  // namespace tevanto::relay
