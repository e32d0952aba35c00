#include "core/text/Uuid.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

namespace tevanto {
namespace {

TEST(Uuid, hasTheCanonicalFormOfVersion4InUpperCase) {
  const std::regex canonical("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (int i = 0; i < 100; ++i) {
    const auto uuid = randomUuid();
    EXPECT_TRUE(std::regex_match(uuid, canonical)) << uuid;
  }
}

TEST(Uuid, isNewEachTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(randomUuid());
  EXPECT_EQ(seen.size(), 1000u);
}

}  // namespace
}  // namespace tevanto
