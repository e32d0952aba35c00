#include "screen/encode/DataRateAccount.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using namespace std::chrono_literals;

// 1,000 bits a second, 500 at once, 10 frames a second.
DataRateAccount makeAccount() { return {1'000, 500, 10}; }

TEST(DataRateAccount, isFullAtFirst) {
  EXPECT_EQ(makeAccount().left(7s), 500);
  EXPECT_FALSE(makeAccount().encoderIsBehind(7s));
}

TEST(DataRateAccount, fillsByTheClockUpToItsSize) {
  auto account = makeAccount();
  account.encoded(1s, 50);
  EXPECT_EQ(account.left(1s), 100);
  EXPECT_EQ(account.left(1100ms), 200);
  EXPECT_EQ(account.left(1400ms), 500);
  EXPECT_EQ(account.left(std::chrono::hours(1000)), 500);
  EXPECT_EQ(account.left(500ms), 100) << "time that runs back gains nothing";
}

TEST(DataRateAccount, anEncoderKeepsUpWithFramesAtTheirInterval) {
  auto account = makeAccount();
  for (int i = 0; i < 20; ++i) {
    account.encoded(i * 100ms, 20);
    EXPECT_FALSE(account.encoderIsBehind((i + 1) * 100ms)) << i;
  }
}

TEST(DataRateAccount, anEncoderIsBehindAfterAPause) {
  auto account = makeAccount();
  account.encoded(0s, 50);  // 100 left, and it counts on 200
  EXPECT_FALSE(account.encoderIsBehind(200ms));
  EXPECT_FALSE(account.encoderIsBehind(224ms));
  EXPECT_TRUE(account.encoderIsBehind(225ms));
  account.encoderBeganAnew(225ms);
  EXPECT_FALSE(account.encoderIsBehind(225ms));
}

TEST(DataRateAccount, smallFramesAfterAPauseLetTheEncoderCatchUp) {
  auto account = makeAccount();
  account.encoded(0s, 50);
  EXPECT_TRUE(account.encoderIsBehind(5s));
  for (int i = 0; i < 4; ++i) account.encoded(5s + i * 1s, 1);
  EXPECT_FALSE(account.encoderIsBehind(10s));
}

TEST(DataRateAccount, anEncoderIsAheadWhenFramesComeTooFast) {
  auto account = makeAccount();
  account.encoded(0s, 20);  // 340 left, and it counts on 440
  EXPECT_FALSE(account.encoderIsAhead(0s));
  account.encoded(0s, 20);  // 180 and 380
  EXPECT_TRUE(account.encoderIsAhead(0s));
  EXPECT_TRUE(account.encoderIsAhead(75ms));
  EXPECT_FALSE(account.encoderIsAhead(76ms));
}

TEST(DataRateAccount, aPauseIsThreeIntervalsLong) {
  auto account = makeAccount();
  EXPECT_FALSE(account.isAfterPause(100s)) << "nothing came before";
  account.encoded(1s, 20);
  EXPECT_FALSE(account.isAfterPause(1299ms));
  EXPECT_TRUE(account.isAfterPause(1300ms));
}

TEST(DataRateAccount, whatIsOverdrawnIsPaidBack) {
  auto account = makeAccount();
  account.encoded(0s, 100);
  EXPECT_EQ(account.left(0s), -300);
  EXPECT_EQ(account.left(300ms), 0);
}

}  // namespace
}  // namespace tevanto
