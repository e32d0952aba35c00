#include "remote/access/CompatibleAccess.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/settings/DeviceIdentity.h"
#include "tests/support/fakes/FakeUserDefaults.h"

namespace tevanto {
namespace {

using Text = std::optional<std::string>;

struct TokenRule {
  Text stored;
  Text offered;
  bool session;
  bool command;
};

struct CodeRule {
  Text offered;
  std::string shown;
  bool pairs;
};

class CompatibleAccessTest : public testing::Test {
 protected:
  void store(const Text& token) {
    ASSERT_TRUE((token ? defaults_.set(kPairingTokenKey, *token) : defaults_.remove(kPairingTokenKey)).ok());
  }

  test::FakeUserDefaults defaults_;
  CompatibleAccess access_{defaults_};
};

TEST_F(CompatibleAccessTest, comparesTheTokenWithTheStoredOne) {
  const std::vector<TokenRule> rules = {
      {"TOKEN", "TOKEN", true, true},
      {"TOKEN", "token", false, false},
      {"TOKEN", "TOKEN ", false, false},
      {"TOKEN", "TOKE", false, false},
      {"TOKEN", "", false, false},
      {"TOKEN", std::nullopt, false, false},
      {std::nullopt, "TOKEN", false, false},
      {std::nullopt, "", false, false},
      {std::nullopt, std::nullopt, false, true},
      {"", "", true, true},
      {"", std::nullopt, false, false},
  };
  for (const auto& rule : rules) {
    SCOPED_TRACE(rule.stored.value_or("nothing") + " stored, " + rule.offered.value_or("nothing") +
                 " offered");
    store(rule.stored);
    EXPECT_EQ(access_.allowsSession(rule.offered), rule.session);
    EXPECT_EQ(access_.allowsCommand(rule.offered), rule.command);
    // The hello of the screen always carries a token, with which the same phones pass that may open a
    // session.
    if (rule.offered) {
      EXPECT_EQ(access_.allowsScreen(*rule.offered), rule.session);
    }
  }
}

TEST_F(CompatibleAccessTest, takesAValueThatIsNoStringForNoToken) {
  ASSERT_TRUE(defaults_.set(kPairingTokenKey, true).ok());
  EXPECT_TRUE(access_.allowsCommand(std::nullopt));
  EXPECT_FALSE(access_.allowsCommand("true"));
  EXPECT_FALSE(access_.allowsSession(std::nullopt));
  EXPECT_FALSE(access_.allowsScreen("true"));
}

TEST_F(CompatibleAccessTest, pairsByTheExactCodeOnDisplay) {
  const std::vector<CodeRule> rules = {
      {"012345", "012345", true}, {"12345", "012345", false},      {"012346", "012345", false},
      {"", "012345", false},      {std::nullopt, "012345", false}, {" 012345", "012345", false},
  };
  for (const auto& rule : rules)
    EXPECT_EQ(access_.allowsPairing(rule.offered, rule.shown), rule.pairs)
        << rule.offered.value_or("nothing");
}

TEST_F(CompatibleAccessTest, countsNoWrongCodes) {
  for (int i = 0; i < 1000; ++i) EXPECT_FALSE(access_.allowsPairing("999999", "012345"));
  EXPECT_TRUE(access_.allowsPairing("012345", "012345"));
}

TEST_F(CompatibleAccessTest, limitsNoLine) {
  EXPECT_EQ(access_.maximumLineBytes(), AccessPolicy::kUnlimited);
}

}  // namespace
}  // namespace tevanto
