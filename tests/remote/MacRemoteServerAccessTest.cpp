#include <gtest/gtest.h>

#include "remote/MacRemoteServer.h"
#include "tests/remote/RemoteServerFixture.h"

namespace tevanto {
namespace {

/// Allows what its members say, and keeps what it was asked.
class ScriptedAccess final : public AccessPolicy {
 public:
  bool allowsPairing(const std::optional<std::string>& code, std::string_view shown) override {
    codes.push_back(code.value_or("none") + " for " + std::string(shown));
    return pairing;
  }
  bool allowsSession(const std::optional<std::string>& token) const override {
    tokens.push_back("session " + token.value_or("none"));
    return session;
  }
  bool allowsCommand(const std::optional<std::string>& token) const override {
    tokens.push_back("command " + token.value_or("none"));
    return command;
  }
  bool allowsScreen(std::string_view) const override { return false; }
  std::size_t maximumLineBytes() const override { return lineBytes; }

  bool pairing = false;
  bool session = false;
  bool command = false;
  std::size_t lineBytes = kUnlimited;
  std::vector<std::string> codes;
  mutable std::vector<std::string> tokens;
};

class MacRemoteServerAccessTest : public test::RemoteServerTest {
 protected:
  void SetUp() override {
    access_ = policy_;
    RemoteServerTest::SetUp();
  }

  std::shared_ptr<ScriptedAccess> policy_ = std::make_shared<ScriptedAccess>();
};

TEST_F(MacRemoteServerAccessTest, pairsNobodyWhomThePolicyRefuses) {
  start();
  auto phone = connect();
  const auto shown = server_->pairingCode.get();
  phone.send(pairRequest());
  EXPECT_EQ(phone.replies(), (std::vector<RemoteMessage>{{.type = "pairRejected", .message = "wrong code"}}));
  EXPECT_EQ(policy_->codes, std::vector<std::string>{shown + " for " + shown});
  EXPECT_EQ(storedToken(), "");
  EXPECT_EQ(server_->pairingCode.get(), shown);
}

TEST_F(MacRemoteServerAccessTest, pairsWhomThePolicyAllows) {
  policy_->pairing = true;
  start();
  auto phone = connect();
  phone.send({.type = "pairRequest"});
  EXPECT_EQ(phone.replyTypes(), (std::vector<std::string>{"pairAccepted", "capabilities", "systemState"}));
  EXPECT_NE(storedToken(), "");
}

TEST_F(MacRemoteServerAccessTest, asksThePolicyAboutEachTokenWhateverIsStored) {
  auto phone = pairedPhone();
  phone.send({.type = "sessionHello", .token = kToken});
  phone.send(command({.type = "movePointer", .dx = 1, .dy = 1}));
  EXPECT_EQ(phone.replyTypes(), (std::vector<std::string>{"sessionRejected", "ack"}));
  EXPECT_TRUE(events_.events.empty());

  policy_->session = policy_->command = true;
  phone.send({.type = "sessionHello"});
  phone.send({.type = "command", .token = "other", .command = RemoteCommand{.type = "mouseDown"}});
  EXPECT_EQ(phone.replyTypes(), (std::vector<std::string>{"capabilities", "systemState", "ack"}));
  EXPECT_EQ(events_.events.size(), 1u);
  EXPECT_EQ(policy_->tokens,
            (std::vector<std::string>{std::string("session ") + kToken, std::string("command ") + kToken,
                                      "session none", "command other"}));
}

TEST_F(MacRemoteServerAccessTest, disconnectsAPhoneWhoseLineIsLongerThanThePolicyAllows) {
  policy_->lineBytes = 64;
  policy_->command = true;
  start();
  auto phone = connect();
  phone.sendLine(R"({"type":"command","command":{"type":"mouseDown"}})");
  EXPECT_EQ(phone.replyTypes(), std::vector<std::string>{"ack"});
  EXPECT_TRUE(server_->isClientConnected.get());
  phone.peer().send(std::string(65, 'x'));
  run();
  EXPECT_TRUE(phone.peer().isEnded());
  EXPECT_FALSE(server_->isClientConnected.get());
  EXPECT_EQ(statusText(), "Waiting for iPhone");
}

}  // namespace
}  // namespace tevanto
