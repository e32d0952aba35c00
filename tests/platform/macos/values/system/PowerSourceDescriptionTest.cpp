#include "platform/macos/values/system/PowerSourceDescription.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

PreferenceValue described(PreferenceValue::Dictionary members) { return {std::move(members)}; }

TEST(PowerSourceDescription, tellsLevelAndState) {
  const auto source = powerSourceOf(described({{"Current Capacity", {std::int64_t{64}}},
                                               {"Max Capacity", {std::int64_t{100}}},
                                               {"Power Source State", {std::string("Battery Power")}},
                                               {"Name", {std::string("InternalBattery-0")}}}));
  EXPECT_EQ(source.currentCapacity, 64);
  EXPECT_EQ(source.maxCapacity, 100);
  EXPECT_EQ(source.state, PowerSources::kBatteryPower);
}

TEST(PowerSourceDescription, countsAsAbsentWhatIsNoInteger) {
  const auto source = powerSourceOf(described({{"Current Capacity", {64.5}},
                                               {"Max Capacity", {std::string("100")}},
                                               {"Power Source State", {true}}}));
  EXPECT_FALSE(source.currentCapacity);
  EXPECT_FALSE(source.maxCapacity);
  EXPECT_EQ(source.state, "");
}

TEST(PowerSourceDescription, isEmptyForAnEmptyDictionaryAndForWhatIsNone) {
  for (const auto& description : {described({}), PreferenceValue{std::string("battery")}}) {
    const auto source = powerSourceOf(description);
    EXPECT_FALSE(source.currentCapacity);
    EXPECT_FALSE(source.maxCapacity);
    EXPECT_EQ(source.state, "");
  }
}

}  // namespace
}  // namespace tevanto
