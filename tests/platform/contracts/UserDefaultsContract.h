#pragma once

// What callers of the user defaults rely on, wherever a system keeps them.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/settings/UserDefaults.h"
#include "tests/platform/contracts/ContractTest.h"

namespace tevanto::test {

class UserDefaultsContract : public ContractTest<UserDefaults> {
 protected:
  const DefaultsData bytes_{std::byte{0}, std::byte{0xFF}, std::byte{'{'}};
};

TEST_P(UserDefaultsContract, valuesComeBackWithTheirTypesUntilTheyAreRemoved) {
  const std::map<std::string, DefaultsValue> values{{"flag", true},
                                                    {"count", std::int64_t{1}},
                                                    {"share", 0.5},
                                                    {"whole", 2.0},
                                                    {"text", std::string("é\u4e2d")},
                                                    {"empty", std::string()},
                                                    {"list", std::vector<std::string>{"a", "b"}},
                                                    {"no list", std::vector<std::string>()},
                                                    {"dotted.data", bytes_},
                                                    {"no data", DefaultsData()}};
  for (const auto& [key, value] : values) ASSERT_TRUE(subject().set(key, value)) << key;
  for (const auto& [key, value] : values) EXPECT_EQ(subject().value(key), value) << key;
  EXPECT_EQ(subject().all(), values);
  for (const auto& [key, value] : values) ASSERT_TRUE(subject().remove(key)) << key;
  EXPECT_TRUE(subject().all().empty());
  EXPECT_FALSE(subject().value("flag"));
  EXPECT_TRUE(subject().remove("flag")) << "what is gone may be removed again";
}

TEST_P(UserDefaultsContract, aValueOfAnotherTypeReplacesTheFormer) {
  ASSERT_TRUE(subject().set("key", std::string("{}")));
  EXPECT_EQ(subject().string("key"), "{}");
  EXPECT_FALSE(subject().data("key"));
  ASSERT_TRUE(subject().set("key", bytes_));
  EXPECT_EQ(subject().data("key"), bytes_);
  EXPECT_FALSE(subject().string("key"));
  ASSERT_TRUE(subject().set("key", true));
  EXPECT_TRUE(subject().boolean("key"));
  EXPECT_FALSE(subject().data("key"));
  EXPECT_EQ(subject().all().size(), 1U);
}

TEST_P(UserDefaultsContract, aTextThatMayBeAbsentIsComparedWithOneThatMayBe) {
  EXPECT_TRUE(subject().stringEquals("token", std::nullopt));
  EXPECT_FALSE(subject().stringEquals("token", "a"));
  ASSERT_TRUE(subject().set("token", std::string("a")));
  EXPECT_TRUE(subject().stringEquals("token", "a"));
  EXPECT_FALSE(subject().stringEquals("token", "A"));
  EXPECT_FALSE(subject().stringEquals("token", std::nullopt));
  ASSERT_TRUE(subject().set("token", bytes_));
  EXPECT_TRUE(subject().stringEquals("token", std::nullopt)) << "what is no text is none";
}

}  // namespace tevanto::test
