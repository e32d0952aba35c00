#include "relay/TokenBucket.h"

#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

using namespace std::chrono_literals;
const TokenBucket::TimePoint kBucketStart{1h};

int takeAll(TokenBucket& bucket, TokenBucket::TimePoint now) {
  int taken = 0;
  while (taken < 1000 && bucket.take(now)) ++taken;
  return taken;
}

TEST(TokenBucket, letsABurstThroughAndThenTheRate) {
  TokenBucket bucket(10, 20, kBucketStart);
  EXPECT_EQ(takeAll(bucket, kBucketStart), 20);
  EXPECT_FALSE(bucket.take(kBucketStart + 90ms));
  EXPECT_TRUE(bucket.take(kBucketStart + 200ms));
  EXPECT_EQ(takeAll(bucket, kBucketStart + 1200ms), 1 + 10);  // one was left
}

TEST(TokenBucket, fillsNoFurtherThanTheBurst) {
  TokenBucket bucket(10, 20, kBucketStart);
  takeAll(bucket, kBucketStart);
  EXPECT_EQ(takeAll(bucket, kBucketStart + 24h), 20);
}

TEST(TokenBucket, keepsASteadySenderForDays) {
  TokenBucket bucket(10, 20, kBucketStart);
  for (int second = 0; second < 200'000; ++second) {
    for (int i = 0; i < 9; ++i)
      ASSERT_TRUE(bucket.take(kBucketStart + std::chrono::seconds(second) + i * 100ms));
  }
}

TEST(TokenBucket, gainsNothingFromAClockThatStands) {
  TokenBucket bucket(10, 5, kBucketStart);
  EXPECT_EQ(takeAll(bucket, kBucketStart), 5);
  EXPECT_EQ(takeAll(bucket, kBucketStart), 0);
  EXPECT_EQ(takeAll(bucket, kBucketStart - 1h), 0);
}

}  // namespace
}  // namespace tevanto::relay
