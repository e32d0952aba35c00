#include "control/KeyCodes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace tevanto {
namespace {

TEST(KeyCodes, knowsTheNamedKeys) {
  const std::map<std::string, int> keys = {{"escape", 53},      {"tab", 48},      {"returnKey", 36},
                                           {"delete", 51},      {"space", 49},    {"arrowLeft", 123},
                                           {"arrowRight", 124}, {"arrowUp", 126}, {"arrowDown", 125}};
  for (const auto& [name, code] : keys) EXPECT_EQ(keyCodeNamed(name), code) << name;
}

TEST(KeyCodes, knowsTheCharactersOfTheUsLayout) {
  const std::map<char, int> keys = {
      {'a', 0},   {'s', 1},  {'d', 2},  {'f', 3},  {'h', 4},  {'g', 5},   {'z', 6},  {'x', 7},
      {'c', 8},   {'v', 9},  {'b', 11}, {'q', 12}, {'w', 13}, {'e', 14},  {'r', 15}, {'y', 16},
      {'t', 17},  {'1', 18}, {'2', 19}, {'3', 20}, {'4', 21}, {'6', 22},  {'5', 23}, {'=', 24},
      {'9', 25},  {'7', 26}, {'-', 27}, {'8', 28}, {'0', 29}, {']', 30},  {'o', 31}, {'u', 32},
      {'[', 33},  {'i', 34}, {'p', 35}, {'l', 37}, {'j', 38}, {'\'', 39}, {'k', 40}, {';', 41},
      {'\\', 42}, {',', 43}, {'/', 44}, {'n', 45}, {'m', 46}, {'.', 47},  {'`', 50}};
  ASSERT_EQ(keys.size(), 47u);
  for (int character = 0x20; character < 0x7f; ++character) {
    const std::string name(1, static_cast<char>(character));
    const auto key = keys.find(static_cast<char>(std::tolower(character)));
    const auto expected = key == keys.end() ? std::nullopt : std::optional<std::uint16_t>(key->second);
    EXPECT_EQ(keyCodeNamed(name), expected) << name;
  }
}

TEST(KeyCodes, usesTheFirstCharacterInLowerCase) {
  EXPECT_EQ(keyCodeNamed("A"), 0);
  EXPECT_EQ(keyCodeNamed("ab"), 0);
  EXPECT_EQ(keyCodeNamed("Zebra"), 6);
  EXPECT_EQ(keyCodeNamed("Escape"), 14);  // names are exact: this is the key of "e"
  EXPECT_EQ(keyCodeNamed("\u212A"), 40);  // the Kelvin sign's lower case is "k"
}

TEST(KeyCodes, hasNoKeyForWhatTheLayoutDoesNotPrint) {
  for (const auto* name : {"", "é", "e\u0301", "ß", "я", "😀", "A\u030A", "\n", "!", "\xff"}) {
    EXPECT_EQ(keyCodeNamed(name), std::nullopt) << name;
  }
}

TEST(KeyCodes, tellsFunctionAndArrowKeys) {
  const std::set<int> function = {122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                  103, 111, 105, 107, 113, 106, 64, 79,  80,  90};
  ASSERT_EQ(function.size(), 20u);
  for (int code = 0; code < 0x10000; ++code) {
    ASSERT_EQ(isFunctionKey(static_cast<std::uint16_t>(code)), function.contains(code)) << code;
    ASSERT_EQ(isArrowKey(static_cast<std::uint16_t>(code)), code >= 123 && code <= 126) << code;
  }
}

}  // namespace
}  // namespace tevanto
