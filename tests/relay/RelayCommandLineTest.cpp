#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <vector>

#include "relay/CommandLine.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::relay {
namespace {

Invocation parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "tevanto-relay");
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

RelayOptions options(std::vector<const char*> arguments) {
  const auto invocation = parse(std::move(arguments));
  EXPECT_TRUE(std::holds_alternative<RelayOptions>(invocation));
  return std::get<RelayOptions>(invocation);
}

int exitStatus(std::vector<const char*> arguments) {
  const auto invocation = parse(std::move(arguments));
  return std::holds_alternative<EndNow>(invocation) ? std::get<EndNow>(invocation).exitStatus : -1;
}

/// A variable that is set for as long as a test needs it.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) { ::setenv(name, value, 1); }
  ~Variable() { ::unsetenv(name_); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name_;
};

TEST(RelayCommandLine, hasTheDefaultsOfASmallServer) {
  const auto parsed = options({});
  EXPECT_TRUE(parsed.addresses.empty());
  EXPECT_EQ(parsed.port, 8787);
  EXPECT_FALSE(parsed.usesTls());
  EXPECT_TRUE(parsed.trustedProxies.empty());
  EXPECT_TRUE(parsed.turn.secret.empty());
  EXPECT_EQ(parsed.turn.lifetime, std::chrono::hours(12));
  EXPECT_EQ(parsed.limits.maxMessageBytes, 256u * 1024u);
  EXPECT_EQ(parsed.limits.maxUnsentBytes, 1024u * 1024u);
  EXPECT_EQ(parsed.limits.pingInterval, std::chrono::seconds(25));
  EXPECT_EQ(parsed.limits.unansweredPings, 2);
  EXPECT_EQ(parsed.limits.requestTimeout, std::chrono::seconds(10));
}

TEST(RelayCommandLine, takesFlags) {
  const auto parsed = options({"--listen",
                               "127.0.0.1",
                               "--listen",
                               "::1",
                               "--port",
                               "0",
                               "--certificate",
                               "c.pem",
                               "--private-key",
                               "k.pem",
                               "--trusted-proxy",
                               "127.0.0.1,10.0.0.0/8",
                               "--turn-secret",
                               "s",
                               "--turn-url",
                               "turn:a",
                               "--turn-lifetime",
                               "600",
                               "--turn-user",
                               "u",
                               "--max-connections-per-address",
                               "3",
                               "--max-connections",
                               "9",
                               "--message-rate",
                               "5",
                               "--message-burst",
                               "7",
                               "--ping-interval",
                               "1.5",
                               "--request-timeout",
                               "2"});
  EXPECT_EQ(parsed.addresses, (std::vector<std::string>{"127.0.0.1", "::1"}));
  EXPECT_EQ(parsed.port, 0);
  EXPECT_EQ(parsed.certificateFile, "c.pem");
  EXPECT_EQ(parsed.privateKeyFile, "k.pem");
  EXPECT_EQ(parsed.trustedProxies, (std::vector<std::string>{"127.0.0.1", "10.0.0.0/8"}));
  EXPECT_EQ(parsed.turn.secret, "s");
  EXPECT_EQ(parsed.turn.urls, std::vector<std::string>{"turn:a"});
  EXPECT_EQ(parsed.turn.lifetime, std::chrono::minutes(10));
  EXPECT_EQ(parsed.turn.userName, "u");
  EXPECT_EQ(parsed.limits.connectionsPerAddress, 3u);
  EXPECT_EQ(parsed.limits.connections, 9u);
  EXPECT_EQ(parsed.limits.messagesPerSecond, 5);
  EXPECT_EQ(parsed.limits.messageBurst, 7);
  EXPECT_EQ(parsed.limits.pingInterval, std::chrono::milliseconds(1500));
  EXPECT_EQ(parsed.limits.requestTimeout, std::chrono::seconds(2));
}

TEST(RelayCommandLine, takesTheEnvironmentAndPrefersFlags) {
  const Variable port("TEVANTO_RELAY_PORT", "9000");
  const Variable urls("TEVANTO_RELAY_TURN_URLS", "turn:a,turn:b");
  const Variable secret("TEVANTO_RELAY_TURN_SECRET", "quiet");
  const Variable proxies("TEVANTO_RELAY_TRUSTED_PROXIES", "127.0.0.1,::1");
  EXPECT_EQ(options({}).port, 9000);
  EXPECT_EQ(options({}).turn.urls, (std::vector<std::string>{"turn:a", "turn:b"}));
  EXPECT_EQ(options({}).turn.secret, "quiet");
  EXPECT_EQ(options({}).trustedProxies, (std::vector<std::string>{"127.0.0.1", "::1"}));
  EXPECT_EQ(options({"--port", "9001"}).port, 9001);
}

TEST(RelayCommandLine, readsTheSecretFromAFileWithoutItsLineFeed) {
  const tevanto::test::TemporaryFolder folder;
  const auto file = (folder / "secret").string();
  std::ofstream(file) << "north star\r\n";
  EXPECT_EQ(options({"--turn-secret-file", file.c_str()}).turn.secret, "north star");
  std::ofstream(file) << "\n";
  EXPECT_EQ(exitStatus({"--turn-secret-file", file.c_str()}), 2);
  EXPECT_EQ(exitStatus({"--turn-secret-file", (folder / "none").c_str()}), 2);
}

TEST(RelayCommandLine, endsWithTwoOnWrongUsage) {
  EXPECT_EQ(exitStatus({"--port", "70000"}), 2);
  EXPECT_EQ(exitStatus({"--port", "x"}), 2);
  EXPECT_EQ(exitStatus({"--message-rate", "-1"}), 2);
  EXPECT_EQ(exitStatus({"--ping-interval", "0"}), 2);
  EXPECT_EQ(exitStatus({"--unknown"}), 2);
  EXPECT_EQ(exitStatus({"extra"}), 2);
}

TEST(RelayCommandLine, showsHelpWithoutTheSecret) {
  const Variable secret("TEVANTO_RELAY_TURN_SECRET", "very quiet");
  testing::internal::CaptureStdout();
  EXPECT_EQ(exitStatus({"--help"}), 0);
  const auto help = testing::internal::GetCapturedStdout();
  EXPECT_NE(help.find("TEVANTO_RELAY_TURN_SECRET"), std::string::npos);
  EXPECT_NE(help.find("LimitNOFILE"), std::string::npos);
  EXPECT_EQ(help.find("very quiet"), std::string::npos);
}

}  // namespace
}  // namespace tevanto::relay
