#include "phone/commands/KeyNames.h"

#include <gtest/gtest.h>

namespace tevanto::phone {
namespace {

TEST(KeyNames, knowsTheNamedKeysInAnyCase) {
  const std::pair<const char*, const char*> rows[] = {{"escape", "escape"},    {"Esc", "escape"},
                                                      {"TAB", "tab"},          {"return", "returnKey"},
                                                      {"Enter", "returnKey"},  {"returnKey", "returnKey"},
                                                      {"delete", "delete"},    {"backspace", "delete"},
                                                      {"space", "space"},      {" ", "space"},
                                                      {"left", "arrowLeft"},   {"arrowRight", "arrowRight"},
                                                      {"Up", "arrowUp"},       {"down", "arrowDown"},
                                                      {"right", "arrowRight"}, {"arrowLeft", "arrowLeft"},
                                                      {"arrowUp", "arrowUp"},  {"arrowDown", "arrowDown"}};
  for (const auto& [name, key] : rows) EXPECT_EQ(keyNamed(name), (NamedKey{key, false})) << name;
}

TEST(KeyNames, reachesEachPrintedCharacterWithAndWithoutShift) {
  const std::string_view plain = "abcdefghijklmnopqrstuvwxyz1234567890-=[]\\;',./`";
  const std::string_view shifted = "ABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()_+{}|:\"<>?~";
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const std::string key(1, plain[i]);
    EXPECT_EQ(keyNamed(key), (NamedKey{key, false}));
    EXPECT_EQ(keyNamed(std::string(1, shifted[i])), (NamedKey{key, true}));
  }
}

TEST(KeyNames, hasNoKeyForTheRest) {
  for (const auto* name : {"", "é", "ab", "F1", "escapee"}) EXPECT_EQ(keyNamed(name), std::nullopt) << name;
}

}  // namespace
}  // namespace tevanto::phone
