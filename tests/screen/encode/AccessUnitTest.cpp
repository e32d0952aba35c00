#include "screen/encode/AccessUnit.h"

#include <gtest/gtest.h>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::copyOf;

std::vector<Bytes> unitsOf(const Bytes& stream) {
  std::vector<Bytes> units;
  for (const auto unit : annexBNalUnits(stream)) units.push_back(copyOf(unit));
  return units;
}

TEST(AccessUnit, cutsAtStartCodesOfBothLengths) {
  EXPECT_EQ(unitsOf(bytesOf({0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 3, 4})),
            (std::vector<Bytes>{bytesOf({0x67, 1}), bytesOf({0x68, 2}), bytesOf({0x65, 3, 4})}));
}

TEST(AccessUnit, leavesOutWhatIsNoUnit) {
  EXPECT_TRUE(unitsOf({}).empty());
  EXPECT_TRUE(unitsOf(bytesOf({0, 0, 1})).empty());
  EXPECT_TRUE(unitsOf(bytesOf({0x65, 1, 2, 3})).empty());
  EXPECT_EQ(unitsOf(bytesOf({9, 9, 0, 0, 1, 0x65, 7, 0, 0, 0})), std::vector<Bytes>{bytesOf({0x65, 7})});
  EXPECT_EQ(unitsOf(bytesOf({0, 0, 1, 0, 0, 1, 0x65, 7})), std::vector<Bytes>{bytesOf({0x65, 7})});
}

TEST(AccessUnit, keepsBytesThatOnlyLookLikeAStartCode) {
  const auto unit = bytesOf({0x65, 0, 0, 3, 1, 0, 1, 1, 0, 0, 2, 1});
  auto stream = bytesOf({0, 0, 1});
  stream.insert(stream.end(), unit.begin(), unit.end());
  EXPECT_EQ(unitsOf(stream), std::vector<Bytes>{unit});
}

TEST(AccessUnit, everyTruncationGivesBeginningsOfTheSameUnits) {
  const auto stream = bytesOf({0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 5, 0, 0, 1, 0x65, 3, 4, 5});
  const auto whole = unitsOf(stream);
  for (std::size_t size = 0; size <= stream.size(); ++size) {
    const auto units = unitsOf(Bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size)));
    ASSERT_LE(units.size(), whole.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
      ASSERT_LE(units[i].size(), whole[i].size()) << size;
      EXPECT_TRUE(std::equal(units[i].begin(), units[i].end(), whole[i].begin())) << size;
    }
  }
}

TEST(AccessUnit, dataHoldsSlicesAndSeiBehindTheirLengths) {
  const auto unit = AccessUnit::ofAnnexB(
      bytesOf({0, 0, 0, 1,    0x09, 0x10, 0, 0, 0, 1,    0x67, 77, 0, 0, 0, 1, 0x68, 2,
               0, 0, 1, 0x06, 5,    5,    0, 0, 1, 0x65, 8,    9,  7, 0, 0, 1, 0x0C, 1}));
  EXPECT_TRUE(unit.isIdr);
  EXPECT_EQ(unit.sps, bytesOf({0x67, 77}));
  EXPECT_EQ(unit.pps, bytesOf({0x68, 2}));
  EXPECT_EQ(unit.data, bytesOf({0, 0, 0, 3, 0x06, 5, 5, 0, 0, 0, 4, 0x65, 8, 9, 7}));
}

TEST(AccessUnit, aSliceThatIsNoIdrMakesNoKeyFrame) {
  const auto unit = AccessUnit::ofAnnexB(bytesOf({0, 0, 1, 0x41, 8}));
  EXPECT_FALSE(unit.isIdr);
  EXPECT_FALSE(unit.sps);
  EXPECT_FALSE(unit.pps);
  EXPECT_EQ(unit.data, bytesOf({0, 0, 0, 2, 0x41, 8}));
}

TEST(AccessUnit, readsLengthsOfMoreThanOneByte) {
  auto stream = bytesOf({0, 0, 1, 0x41});
  stream.resize(stream.size() + 70'000, std::byte{0xAB});
  const auto unit = AccessUnit::ofAnnexB(stream);
  EXPECT_EQ(unit.data.size(), 70'005u);
  EXPECT_EQ(Bytes(unit.data.begin(), unit.data.begin() + 5), bytesOf({0, 1, 0x11, 0x71, 0x41}));
}

}  // namespace
}  // namespace tevanto
