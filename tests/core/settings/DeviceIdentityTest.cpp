#include "core/settings/DeviceIdentity.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/fakes/FakeUserDefaults.h"

namespace tevanto {
namespace {

TEST(DeviceIdentity, isMadeOnFirstUseAndStaysTheSame) {
  test::FakeUserDefaults defaults;
  const auto first = deviceIdentifier(defaults);
  EXPECT_EQ(first.size(), 36u);
  EXPECT_EQ(defaults.string("tevantoDeviceID"), first);
  EXPECT_EQ(deviceIdentifier(defaults), first);
}

TEST(DeviceIdentity, isAnotherOnAnotherComputer) {
  test::FakeUserDefaults one, other;
  EXPECT_NE(deviceIdentifier(one), deviceIdentifier(other));
}

TEST(DeviceIdentity, isWhatIsStored) {
  test::FakeUserDefaults defaults({{"tevantoDeviceID", std::string("my-own")}});
  EXPECT_EQ(deviceIdentifier(defaults), "my-own");
}

TEST(DeviceIdentity, replacesWhatIsNoString) {
  test::FakeUserDefaults defaults({{"tevantoDeviceID", std::int64_t{7}}});
  const auto made = deviceIdentifier(defaults);
  EXPECT_EQ(defaults.string("tevantoDeviceID"), made);
}

TEST(DeviceIdentity, isTheSameForAllServicesWhenItCannotBeStored) {
  test::FakeUserDefaults defaults;
  defaults.failWith("disk full");
  const auto first = deviceIdentifier(defaults);
  EXPECT_EQ(first.size(), 36u);
  EXPECT_EQ(deviceIdentifier(defaults), first);
}

TEST(DeviceIdentity, namesAComputerWithoutAName) {
  EXPECT_EQ(advertisedName("studio"), "studio");
  EXPECT_EQ(advertisedName(std::nullopt), "Tevanto Mac");
}

}  // namespace
}  // namespace tevanto
