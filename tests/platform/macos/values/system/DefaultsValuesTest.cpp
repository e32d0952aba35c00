#include "platform/macos/values/system/DefaultsValues.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tevanto {
namespace {

using Strings = std::vector<std::string>;

PreferenceValue text(const char* content) { return {std::string(content)}; }

TEST(DefaultsValues, keepTheirTypes) {
  EXPECT_EQ(defaultsValueOf({true}), DefaultsValue(true));
  EXPECT_EQ(defaultsValueOf({std::int64_t{7}}), DefaultsValue(std::int64_t{7}));
  EXPECT_EQ(defaultsValueOf({0.5}), DefaultsValue(0.5));
  EXPECT_EQ(defaultsValueOf(text("token")), DefaultsValue(std::string("token")));
  EXPECT_EQ(defaultsValueOf({PreferenceValue::Array{text("turn:a"), text("turn:b")}}),
            DefaultsValue(Strings{"turn:a", "turn:b"}));
  EXPECT_EQ(defaultsValueOf({PreferenceValue::Array{}}), DefaultsValue(Strings{}));
  const DefaultsData data{std::byte{0}, std::byte{0xFF}};
  EXPECT_EQ(defaultsValueOf({PreferenceValue::Data(data)}), DefaultsValue(data));
  EXPECT_EQ(defaultsValueOf({PreferenceValue::Data()}), DefaultsValue(DefaultsData()));
}

TEST(DefaultsValues, areNothingForDictionariesAndMixedArrays) {
  EXPECT_FALSE(defaultsValueOf({PreferenceValue::Dictionary{{"key", text("value")}}}));
  EXPECT_FALSE(defaultsValueOf({PreferenceValue::Array{text("turn:a"), {true}}}));
}

}  // namespace
}  // namespace tevanto
