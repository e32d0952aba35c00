#include "platform/linux/x11/input/SpareKeyPool.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using std::chrono::milliseconds;

class SpareKeyPoolTest : public ::testing::Test {
 protected:
  SpareKeyPoolTest() { pool.assign({{8, 0}, {97, 0}}); }
  SpareKeyPool pool;
  SpareKeyPool::TimePoint now{std::chrono::hours(1)};
};

TEST_F(SpareKeyPoolTest, reusesACodeOnlyWhenItHasRested) {
  EXPECT_EQ(pool.claim(0x101, now), 8);
  EXPECT_EQ(pool.claim(0x102, now), 97);
  EXPECT_EQ(pool.claim(0x103, now), std::nullopt);
  pool.typed(now);
  EXPECT_EQ(pool.nextClaim(), now + SpareKeyPool::kReuseAfter);
  EXPECT_EQ(pool.claim(0x103, now + SpareKeyPool::kReuseAfter - milliseconds(1)), std::nullopt);
  EXPECT_EQ(pool.claim(0x103, now + SpareKeyPool::kReuseAfter), 8);
}

TEST_F(SpareKeyPoolTest, repeatsACharacterWithoutRest) {
  EXPECT_EQ(pool.claim(0x101, now), 8);
  pool.typed(now);
  EXPECT_EQ(pool.find(0x101), 8);
  EXPECT_EQ(pool.find(0x102), std::nullopt);
}

TEST_F(SpareKeyPoolTest, aRepeatedCharacterStartsTheRestAnew) {
  pool.claim(0x101, now);
  pool.claim(0x102, now);
  pool.typed(now);
  const auto later = now + SpareKeyPool::kReuseAfter;
  pool.find(0x101);
  pool.typed(later);
  EXPECT_EQ(pool.claim(0x103, later), 97);
  EXPECT_EQ(pool.claim(0x104, later), std::nullopt);
}

TEST_F(SpareKeyPoolTest, takesTheCodeThatRestedLongest) {
  pool.claim(0x101, now);
  pool.typed(now);
  EXPECT_EQ(pool.claim(0x102, now + milliseconds(60)), 97);
  pool.typed(now + milliseconds(60));
  EXPECT_EQ(pool.claim(0x103, now + std::chrono::seconds(1)), 8);
}

TEST_F(SpareKeyPoolTest, leavesTheFirstStrokesAfterARestSomeTime) {
  pool.typed(now);
  EXPECT_EQ(pool.nextClaim(), now + SpareKeyPool::kFirstStrokesTake);
  pool.typed(now + milliseconds(49));
  EXPECT_EQ(pool.claim(0x101, now + milliseconds(49)), std::nullopt);
  EXPECT_EQ(pool.claim(0x101, now + SpareKeyPool::kFirstStrokesTake), 8);
  now += milliseconds(49) + SpareKeyPool::kRest;
  pool.typed(now);
  EXPECT_EQ(pool.claim(0x102, now), std::nullopt);
}

TEST_F(SpareKeyPoolTest, aCodeInUseIsNotClaimedAgain) {
  EXPECT_EQ(pool.claim(0x101, now), 8);
  EXPECT_EQ(pool.find(0x101), 8);
  EXPECT_EQ(pool.claim(0x102, now), 97);
  EXPECT_EQ(pool.claim(0x103, now), std::nullopt);
}

TEST_F(SpareKeyPoolTest, knowsWhatItCarriesUntilItGivesItBack) {
  pool.claim(0x101, now);
  ASSERT_EQ(pool.carrying().size(), 1u);
  EXPECT_EQ(pool.carrying()[0].keycode, 8);
  EXPECT_EQ(pool.carrying()[0].keysym, 0x101u);
  pool.releaseAll();
  EXPECT_TRUE(pool.carrying().empty());
}

TEST_F(SpareKeyPoolTest, aNewKeymapKeepsTheRestOfTheCodesThatStay) {
  pool.claim(0x101, now);
  pool.typed(now);
  pool.assign({{8, 0}, {200, 0}});
  const auto later = now + milliseconds(60);
  EXPECT_EQ(pool.claim(0x102, later), 200);
  EXPECT_EQ(pool.claim(0x103, later), std::nullopt);
  EXPECT_FALSE(pool.owns(97));
}

TEST_F(SpareKeyPoolTest, codesRestLongerWhileTheMachineIsBusy) {
  pool.claim(0x101, now);
  pool.claim(0x102, now);
  pool.typed(now);
  pool.observeDelay(milliseconds(16));
  EXPECT_EQ(pool.nextClaim(), now + milliseconds(80 + 8 * 16));
  EXPECT_EQ(pool.claim(0x103, now + milliseconds(80 + 8 * 16 - 1)), std::nullopt);
  pool.observeDelay(milliseconds(0));
  EXPECT_EQ(pool.nextClaim(), now + milliseconds(80 + 8 * 14));
  pool.observeDelay(std::chrono::seconds(2));
  EXPECT_EQ(pool.nextClaim(), now + SpareKeyPool::kLongestReuseAfter);
  EXPECT_EQ(pool.claim(0x103, now + SpareKeyPool::kLongestReuseAfter), 8);
}

TEST(SpareKeyPool, withoutCodesThereIsNothingToWaitFor) {
  SpareKeyPool pool;
  EXPECT_TRUE(pool.empty());
  EXPECT_EQ(pool.nextClaim(), std::nullopt);
  EXPECT_EQ(pool.claim(0x101, SpareKeyPool::TimePoint::max()), std::nullopt);
}

}  // namespace
}  // namespace tevanto
