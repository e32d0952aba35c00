#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/relay/RawWebSocket.h"
#include "tests/relay/TlsSocket.h"
#include "tests/support/network/EmptyServer.h"
#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/GuidePage.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"
#include "tests/support/web/TestAuthority.h"

namespace tevanto {

inline constexpr auto kSelfHostedServer = "203.0.113.1";
inline constexpr auto kSelfHostedName = "relay.example.org";

inline const test::GuidePage& guide() {
  static const test::GuidePage page(TEVANTO_GUIDE);
  return page;
}

inline std::string replaced(std::string text, const std::string& what, const std::string& by) {
  const auto at = text.find(what);
  if (at == std::string::npos) throw std::runtime_error("the guide does not say " + what);
  return text.replace(at, what.size(), by);
}

/// The lines KEY=VALUE of a file that systemd reads the environment from.
inline std::vector<std::pair<std::string, std::string>> environmentOf(const std::string& file) {
  std::vector<std::pair<std::string, std::string>> made;
  std::istringstream lines(file);
  for (std::string line; std::getline(lines, line);)
    made.emplace_back(line.substr(0, line.find('=')), line.substr(line.find('=') + 1));
  return made;
}

/// A server with one public address, and two homes that reach it and not one another.
///
///     home ─────────────── server ─────────────── away
///     192.168.1.2          203.0.113.1            192.168.2.2
class SelfHosting : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::EmptyServer::permitted()) GTEST_SKIP() << "a server of its own needs root and namespaces";
    network = std::make_unique<test::NetworkNamespace>("server");
    home = std::make_unique<test::NetworkNamespace>("home");
    away = std::make_unique<test::NetworkNamespace>("away");
    reachFrom(*home, "home0", "192.168.1.2");
    reachFrom(*away, "away0", "192.168.2.2");
    server = std::make_unique<test::EmptyServer>(*network);
    makeClientPrograms();
    makeSecret();
    takeCertificate();
    startTurn();
  }

  void reachFrom(const test::NetworkNamespace& other, const std::string& cable,
                 const std::string& address) const {
    test::NetworkNamespace::connect(other, "eth0", *network, cable);
    const std::string own = kSelfHostedServer;
    network->run({"ip", "address", "add", own + "/32", "peer", address, "dev", cable});
    other.run({"ip", "address", "add", address + "/32", "peer", own, "dev", "eth0"});
  }

  void does(const std::string& script) const {
    const auto result = server->run(script);
    ASSERT_EQ(result.exitStatus, 0) << script << result.output;
  }

  void makeSecret() {
    does(guide().blockWith("openssl rand"));
    secret = test::contentOf(server->file("/etc/tevanto/turn-secret"));
    ASSERT_EQ(secret.size(), 65u);
    secret.pop_back();
  }
  std::string withSecret(const std::string& block) const {
    return replaced(block, "PUT THE LINE OF /etc/tevanto/turn-secret HERE", secret);
  }

  /// As certbot leaves it.
  void takeCertificate() const {
    does("mkdir -p /etc/letsencrypt/live/relay.example.org /etc/letsencrypt/renewal-hooks/deploy");
    const auto identity = authority.issue({std::string("DNS:") + kSelfHostedName});
    const std::string live = "/etc/letsencrypt/live/relay.example.org/";
    test::fill(server->file(live + "fullchain.pem"), identity.certificatePem);
    test::fill(server->file(live + "privkey.pem"), identity.keyPem);
    does("chmod 700 /etc/letsencrypt/live && chmod 600 " + live + "privkey.pem");
    test::fill(trusted, authority.certificatePem());
  }

  void startTurn() {
    test::fill(server->file("/etc/turnserver.conf"), withSecret(guide().blockWith("use-auth-secret")));
    does(guide().blockWith("/renewal-hooks/deploy/tevanto <<"));
    EXPECT_THAT(
        server->askedOfSystemd(),
        testing::AllOf(testing::HasSubstr("restart coturn\n"), testing::HasSubstr("restart tevanto-relay\n"),
                       testing::HasSubstr("reload nginx\n"), testing::HasSubstr("enable coturn\n")));
    // As its unit does.
    turn = server->start({"runuser", "-u", "turnserver", "--", "/usr/bin/turnserver", "-c",
                          "/etc/turnserver.conf", "--pidfile="});
    ASSERT_TRUE(test::eventually([this] {
      return turnLog().find("Total General servers") != std::string::npos;
    })) << turnLog();
    EXPECT_THAT(turnLog(), testing::AllOf(testing::Not(testing::HasSubstr("WARNING")),
                                          testing::Not(testing::HasSubstr("ERROR"))));
  }
  std::string turnLog() const { return server->run("cat /var/log/turn_*.log").output; }

  void startRelay(const std::string& settings) {
    relay =
        server->start({TEVANTO_RELAY},
                      environmentOf(withSecret(guide().blockWith("TEVANTO_RELAY_TURN_SECRET=")) + settings));
    ASSERT_THAT(relay->readLine().value_or(""), testing::StartsWith("listening on"));
  }

  /// As the guide says they are read.
  std::string relayMetrics() const { return server->run("curl -s http://127.0.0.1:8787/metrics").output; }

  void startRelayWithItsCertificate() {
    // As systemd does: "LoadCredential=name:path".
    const auto credentials = guide().blockWith("LoadCredential=");
    does("mkdir -p /run/credentials/tevanto-relay.service");
    const std::regex line("LoadCredential=([^:]+):(.*)");
    for (std::sregex_iterator each(credentials.begin(), credentials.end(), line), end; each != end; ++each)
      does("cp " + each->str(2) + " /run/credentials/tevanto-relay.service/" + each->str(1));
    startRelay(guide().blockWith("TEVANTO_RELAY_CERTIFICATE="));
  }

  void startRelayBehindProxy() {
    startRelay(guide().blockWith("TEVANTO_RELAY_TRUSTED_PROXIES="));
    test::fill(server->file("/etc/nginx/sites-available/tevanto"), guide().blockWith("proxy_pass"));
    does(guide().blockWith("sites-enabled"));
    does(guide().blockWith("worker_connections"));
    proxy = server->start({"/usr/sbin/nginx", "-g", "daemon off; master_process on;"});
    bool listens = false;
    network->enter(
        [&] { listens = test::eventually([] { return test::RawSocket::connectTo(443).isOpen(); }); });
    ASSERT_TRUE(listens) << proxy->readAll();
  }

  /// Programs for people who look the server's name up.
  void makeClientPrograms() const {
    const auto hosts = folder / "hosts";
    test::fill(hosts,
               std::string("127.0.0.1 localhost\n") + kSelfHostedServer + " " + kSelfHostedName + "\n");
    std::filesystem::create_directory(folder / "programs");
    for (const std::string program : {TEVANTO_PROGRAM, TEVANTO_PHONE, "/bin/sh"}) {
      // What runs in a network sees files of its own where it mounts them.
      test::fill(forClients(program), "#!/bin/sh\nmount --bind " + hosts.string() + " /etc/hosts && exec " +
                                          program + " \"$@\"\n");
      std::filesystem::permissions(forClients(program), std::filesystem::perms::owner_all);
    }
  }
  std::string forClients(const std::filesystem::path& program) const {
    return folder / "programs" / program.filename();
  }
  std::unique_ptr<test::ChildProcess> beginAsClient(const test::NetworkNamespace& where,
                                                    const std::string& script) const {
    const auto begin = "cd " + folder.path().string() + "; PATH=programs:$PATH\n";
    return std::make_unique<test::ChildProcess>(
        where.inside({forClients("/bin/sh"), "-e", "-c", begin + script}),
        test::ChildProcess::Options{.environment = client, .mergeErrors = true});
  }
  test::ProgramResult clientDoes(const test::NetworkNamespace& where, const std::string& script) const {
    const auto begun = beginAsClient(where, script);
    auto output = begun->readAll();
    return {begun->wait(), std::move(output)};
  }

  static relay::test::RawWebSocket member(const std::string& target, const std::string& from = {}) {
    const auto socket =
        std::make_shared<relay::test::TlsSocket>(test::RawSocket::connectTo(kSelfHostedServer, 443, from));
    return {
        relay::test::RawWebSocket::Carrier{[socket](std::string_view bytes) { return socket->send(bytes); },
                                           [socket] { return socket->receive(); }},
        target};
  }

  test::TemporaryFolder folder;
  std::filesystem::path trusted = folder / "authorities.pem";
  std::vector<std::pair<std::string, std::string>> client{
      {"SSL_CERT_FILE", trusted.string()},
      {"CURL_CA_BUNDLE", trusted.string()},
      {"HOME", folder.path().string()},
      {"XDG_CONFIG_HOME", folder.path().string()},
      {"XDG_RUNTIME_DIR", folder.path().string()},
      {"DISPLAY", ":no"},
      {"PULSE_SERVER", "unix:" + (folder / "no").string()},
      {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/no"},
      {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no"}};
  test::TestAuthority authority;
  std::unique_ptr<test::NetworkNamespace> network, home, away;
  std::string secret;
  std::unique_ptr<test::ChildProcess> turn, relay, proxy;
  // Before its services: they end with it.
  std::unique_ptr<test::EmptyServer> server;
};

}  // namespace tevanto
