// The relay's credentials at a real TURN server that shares its secret.

#include <gtest/gtest.h>

#include <boost/json.hpp>

#include "tests/relay/RelayProcess.h"
#include "tests/support/network/TurnServer.h"

namespace tevanto::relay {
namespace {

using test::RelayProcess;

/// Sends a few packets through the TURN server, as its own test client does; 0 when they came back.
int tryTurn(const tevanto::test::TurnServer& turn, const std::string& username,
            const std::string& credential) {
  return tevanto::test::runProgram(
             {"turnutils_uclient", "-y", "-c", "-n", "2", "-m", "1", "-p", std::to_string(turn.port()), "-u",
              username, "-w", credential, turn.address()},
             {.environment = {}, .mergeErrors = true})
      .exitStatus;
}

TEST(RelayTurn, handsOutCredentialsThatARealServerTakes) {
  const tevanto::test::TurnServer turn;
  const RelayProcess relay({"--turn-url", turn.url("udp"), "--turn-user", "tevanto"},
                           {.environment = {{"TEVANTO_RELAY_TURN_SECRET", turn.secret()}}});
  const auto answer = relay.ask("/turn-credentials");
  const auto json = boost::json::parse(answer.substr(answer.find("\r\n\r\n") + 4));
  const auto& server = json.at("iceServers").at(0);
  const std::string username(server.at("username").as_string());
  const std::string credential(server.at("credential").as_string());
  EXPECT_EQ(tryTurn(turn, username, credential), 0);
  EXPECT_NE(tryTurn(turn, "1" + username, credential), 0);
}

}  // namespace
}  // namespace tevanto::relay
