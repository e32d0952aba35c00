#include "p2p/channels/TurnByteCounter.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using Change = TurnByteCounter::RouteChange;

TEST(TurnByteCounter, countsNothingOnADirectRoute) {
  TurnByteCounter account;
  EXPECT_FALSE(account.isRelayed());
  EXPECT_EQ(account.arrived(5'000'000), std::nullopt);
  account.routeSelected(true);
  EXPECT_EQ(account.arrived(1), std::nullopt);
  EXPECT_EQ(account.routeSelected(false), (Change{true, 1}));
}

TEST(TurnByteCounter, reportsTheSumWhenItReachesAMillion) {
  TurnByteCounter account;
  account.routeSelected(true);
  EXPECT_EQ(account.arrived(999'999), std::nullopt);
  EXPECT_EQ(account.arrived(1), 1'000'000u);
  EXPECT_EQ(account.arrived(400'000), std::nullopt);
  EXPECT_EQ(account.arrived(700'000), 1'100'000u);
  EXPECT_EQ(account.arrived(3'000'000), 3'000'000u);
}

TEST(TurnByteCounter, givesTheRestWhenTheRouteLeavesTheRelay) {
  TurnByteCounter account;
  EXPECT_EQ(account.routeSelected(true), (Change{true, std::nullopt}));
  EXPECT_EQ(account.arrived(123), std::nullopt);
  EXPECT_EQ(account.routeSelected(false), (Change{true, 123}));
  EXPECT_EQ(account.routeSelected(true), (Change{true, std::nullopt}));
  EXPECT_EQ(account.routeSelected(false), (Change{true, std::nullopt}));
}

TEST(TurnByteCounter, theSameRouteIsNoChange) {
  TurnByteCounter account;
  EXPECT_EQ(account.routeSelected(false), Change{});
  account.routeSelected(true);
  EXPECT_EQ(account.arrived(5), std::nullopt);
  EXPECT_EQ(account.routeSelected(true), Change{});
  EXPECT_EQ(account.routeSelected(false), (Change{true, 5}));
}

}  // namespace
}  // namespace tevanto
