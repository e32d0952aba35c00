#include "platform/macos/values/network/BonjourErrors.h"

#include <gtest/gtest.h>

#include <string>

namespace tevanto {
namespace {

TEST(BonjourErrors, ofTheServiceItselfAreNotTriedAgain) {
  for (const auto error : {-65540, -65548, -65549}) {
    EXPECT_EQ(bonjourFailureOf(error).state, AdvertisingState::pending) << error;
    EXPECT_FALSE(bonjourFailureOf(error).isWorthRetrying) << error;
    EXPECT_STRNE(bonjourFailureOf(error).message, "") << error;
  }
}

TEST(BonjourErrors, ofTheSystemMayPass) {
  for (const auto error : {-65563, -65569}) {
    EXPECT_EQ(bonjourFailureOf(error).state, AdvertisingState::unavailable) << error;
    EXPECT_TRUE(bonjourFailureOf(error).isWorthRetrying) << error;
  }
  EXPECT_TRUE(bonjourFailureOf(-65537).isWorthRetrying);
  EXPECT_STREQ(bonjourFailureOf(-65537).message, "Bonjour could not publish the service.");
}

TEST(BonjourErrors, sayWhereThePermissionIsGiven) {
  for (const auto error : {-65555, -65570}) {
    EXPECT_EQ(bonjourFailureOf(error).state, AdvertisingState::unavailable) << error;
    EXPECT_TRUE(bonjourFailureOf(error).isWorthRetrying) << error;
    EXPECT_NE(std::string(bonjourFailureOf(error).message).find("Local Network"), std::string::npos) << error;
  }
}

TEST(BonjourErrors, areFollowedByLongerAndLongerWaits) {
  auto wait = kFirstBonjourRetry;
  for (const auto expected : {10, 20, 40, 80, 160, 320, 640, 640, 640}) {
    EXPECT_EQ(wait.count(), expected);
    wait = nextBonjourRetry(wait);
  }
}

}  // namespace
}  // namespace tevanto
