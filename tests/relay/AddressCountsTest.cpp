#include "relay/AddressCounts.h"

#include <gtest/gtest.h>

#include <vector>

namespace tevanto::relay {
namespace {

TEST(AddressCounts, holdsEachAddressToTheLimit) {
  AddressCounts counts(2);
  const auto first = counts.enter("a");
  const auto second = counts.enter("a");
  EXPECT_TRUE(first);
  EXPECT_TRUE(second);
  EXPECT_FALSE(counts.enter("a"));
  EXPECT_TRUE(counts.enter("b"));
}

TEST(AddressCounts, givesAPlaceBackOnce) {
  AddressCounts counts(1);
  auto first = counts.enter("a");
  auto moved = std::move(first);
  first.release();  // NOLINT(bugprone-use-after-move): an empty place gives nothing back
  EXPECT_FALSE(counts.enter("a"));
  moved.release();
  moved.release();
  auto next = counts.enter("a");
  EXPECT_TRUE(next);
  next = AddressCounts::Place();
  EXPECT_TRUE(counts.enter("a"));
}

TEST(AddressCounts, forgetsAddressesWithoutConnections) {
  AddressCounts counts(0);
  {
    std::vector<AddressCounts::Place> places;
    for (int i = 0; i < 1000; ++i) places.push_back(counts.enter(std::to_string(i % 10)));
    EXPECT_EQ(counts.addresses(), 10u);
  }
  EXPECT_EQ(counts.addresses(), 0u);
}

}  // namespace
}  // namespace tevanto::relay
