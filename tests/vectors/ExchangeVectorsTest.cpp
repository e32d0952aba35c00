#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <string>
#include <vector>

#include "tests/remote/RemoteServerFixture.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

constexpr auto* kPairedToken = "A4362106-4877-45C4-862E-262F3C4B8B24";
constexpr auto* kNewToken = "00000000-0000-0000-0000-000000000000";
constexpr auto* kDeviceID = "3A2091BB-5D5B-4D0A-8C5B-6E1D7C1A9F20";
constexpr auto* kCode = "708986";

class ExchangeVectors : public RemoteServerTest {
 protected:
  /// A companion as it is before the first step.
  Phone begin(const Vector& vector) {
    makeServer();
    EXPECT_TRUE(defaults_.remove(kPairingTokenKey).ok());
    EXPECT_TRUE(defaults_.set(kDeviceIDKey, std::string(kDeviceID)).ok());
    if (vector.at("paired").as_bool()) storeToken(kPairedToken);
    permission_.trusted = vector.at("mayInjectInput").as_bool();
    start();
    server_->pairingCode.set(kCode);
    return connect();
  }
  void end() {
    server_->stop();
    run();
  }
  /// The message with the token that was given out last in the place of the one that stands for it.
  RemoteMessage withNewToken(RemoteMessage message) {
    if (message.token == kNewToken) message.token = storedToken();
    return message;
  }
};

TEST_F(ExchangeVectors, areAnsweredSo) {
  for (const auto& vector : vectorsOf("exchanges.json", "exchange")) {
    SCOPED_TRACE(vector.name());
    auto phone = begin(vector);
    for (const auto& step : vector.at("steps").as_array()) {
      phone.send(withNewToken(messageOf(step.at("phone"))));
      const auto answers = phone.replies();
      auto expected = messagesOf(step.at("companion"));
      for (auto& message : expected) message = withNewToken(message);
      EXPECT_EQ(answers, expected);
    }
    EXPECT_FALSE(phone.peer().isEnded());
    end();
  }
}

}  // namespace
}  // namespace tevanto::test
