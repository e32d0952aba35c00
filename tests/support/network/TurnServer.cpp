#include "tests/support/network/TurnServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "core/text/Base64.h"
#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

/// A port that is free for UDP and TCP now: the server cannot be told to choose one.
std::uint16_t freePort(const std::string& address) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    const int stream = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int datagrams = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    ::inet_pton(AF_INET, address.c_str(), &name.sin_addr);
    socklen_t length = sizeof(name);
    auto* generic = reinterpret_cast<sockaddr*>(&name);
    const bool free = ::bind(stream, generic, length) == 0 && ::getsockname(stream, generic, &length) == 0 &&
                      ::bind(datagrams, generic, length) == 0;
    ::close(stream);
    ::close(datagrams);
    if (free) return ntohs(name.sin_port);
  }
  throw std::runtime_error("no free port on " + address);
}

std::string signedWith(const std::string& secret, const std::string& text) {
  unsigned char code[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  ::HMAC(EVP_sha1(), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(text.data()), text.size(), code, &length);
  return base64(std::as_bytes(std::span(code, length)));
}

}  // namespace

TurnServer::TurnServer(Options options) : options_(std::move(options)) {
  startOn(options_.port != 0 ? options_.port : freePort(options_.address));
}

TurnServer::~TurnServer() = default;

std::vector<std::string> TurnServer::command(std::uint16_t port) const {
  std::vector<std::string> made = {
      "turnserver", "-n", "--no-cli", "--no-dtls", "--fingerprint", "--listening-ip=" + options_.address,
      "--relay-ip=" + options_.address, "--use-auth-secret", "--static-auth-secret=" + options_.secret,
      "--realm=tevanto.test", "--allow-loopback-peers", "--relay-threads=1",
      // More than a line per allocation: the tests look for some of them.
      "--verbose", "--simple-log", "--log-file=" + (folder_ / "log").string(),
      "--pidfile=" + (folder_ / "pid").string(), "--userdb=" + (folder_ / "users").string()};
  const auto number = std::to_string(port);
  if (options_.identity) {
    std::ofstream(folder_ / "certificate.pem") << options_.identity->certificatePem;
    std::ofstream(folder_ / "key.pem") << options_.identity->keyPem;
    made.insert(made.end(), {"--tls-listening-port=" + number, "--no-udp", "--no-tcp",
                             "--cert=" + (folder_ / "certificate.pem").string(),
                             "--pkey=" + (folder_ / "key.pem").string()});
    return options_.network ? options_.network->inside(std::move(made)) : made;
  }
  made.insert(made.end(), {"--listening-port=" + number, "--no-tls"});
  if (!options_.udp) made.emplace_back("--no-udp");
  if (!options_.tcp) made.emplace_back("--no-tcp");
  return options_.network ? options_.network->inside(std::move(made)) : made;
}

void TurnServer::startOn(std::uint16_t port) {
  port_ = port;
  std::filesystem::remove(folder_ / "log");
  ChildProcess::Options options;
  options.mergeErrors = true;
  server_ = std::make_unique<ChildProcess>(command(port), std::move(options));
  // It writes this when all of its listeners are open, and ends when a port is taken.
  const bool up = eventually(
      [&] { return !server_->isRunning() || log().find("Total General servers") != std::string::npos; });
  if (!up || !server_->isRunning()) throw std::runtime_error("the TURN server does not come up:\n" + log());
}

void TurnServer::kill() { server_->kill(); }

void TurnServer::start() { startOn(port_); }

std::string TurnServer::url(const std::string& transport) const {
  if (options_.identity) return "turns:localhost:" + std::to_string(port_) + "?transport=" + transport;
  return "turn:" + options_.address + ":" + std::to_string(port_) + "?transport=" + transport;
}

RemoteIceServerConfig TurnServer::iceServer(const std::string& transport, int validSeconds) const {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto end = std::chrono::duration_cast<std::chrono::seconds>(now).count() + validSeconds;
  const auto user = std::to_string(end) + ":test";
  return {{url(transport)}, user, signedWith(options_.secret, user)};
}

std::string TurnServer::log() const {
  std::ostringstream text;
  text << std::ifstream(folder_ / "log").rdbuf();
  return text.str();
}

}  // namespace tevanto::test
