#include "core/text/LocalizedOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tevanto {
namespace {

TEST(LocalizedOrder, sortsAsAPersonDoes) {
  std::vector<std::string> names = {"zeta", "Éclair", "eclipse", "Zebra", "apple", "Äpfel", "echo"};
  const LocalizedOrder order;
  std::sort(names.begin(), names.end(),
            [&](const auto& a, const auto& b) { return order.compare(a, b) < 0; });
  EXPECT_EQ(names,
            (std::vector<std::string>{"Äpfel", "apple", "echo", "Éclair", "eclipse", "Zebra", "zeta"}));
}

TEST(LocalizedOrder, doesNotRegardCaseButAccents) {
  const LocalizedOrder order;
  EXPECT_EQ(order.compare("Files", "fILES"), 0);
  EXPECT_LT(order.compare("resume", "résumé"), 0);
  EXPECT_GT(order.compare("résumé", "resume"), 0);
  EXPECT_LT(order.compare("", "a"), 0);
}

TEST(LocalizedOrder, ordersIllFormedTextWithoutComplaint) {
  const LocalizedOrder order;
  EXPECT_EQ(order.compare("a\xFF", "a\xFF"), 0);
  EXPECT_NE(order.compare("a\xFF", "b"), 0);
}

}  // namespace
}  // namespace tevanto
