#include "control/SymbolicHotKeys.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/fakes/FakeUserPreferences.h"

namespace tevanto {
namespace {

using Array = PreferenceValue::Array;
using Dictionary = PreferenceValue::Dictionary;

PreferenceValue whole(std::int64_t number) { return {number}; }
PreferenceValue text(std::string value) { return {std::move(value)}; }

Dictionary valueWith(Array parameters) { return {{"parameters", {std::move(parameters)}}}; }
Dictionary entryWith(Array parameters) { return {{"value", {valueWith(std::move(parameters))}}}; }

class SymbolicHotKeysTest : public testing::Test {
 protected:
  SymbolicHotKeys::Lookup findWith(PreferenceValue entry) {
    preferences_.setHotKeys({{"79", std::move(entry)}});
    return hotKeys_.find(79);
  }
  bool isNotDefined(const SymbolicHotKeys::Lookup& lookup) {
    return std::holds_alternative<SymbolicHotKeys::NotDefined>(lookup);
  }
  bool isDisabled(const SymbolicHotKeys::Lookup& lookup) {
    return std::holds_alternative<SymbolicHotKeys::Disabled>(lookup);
  }
  SymbolicHotKeys::Lookup stroke(std::uint16_t code, std::vector<RemoteModifier> modifiers = {}) {
    return SymbolicHotKeys::KeyStroke{code, std::move(modifiers)};
  }
  void expectStroke(const SymbolicHotKeys::Lookup& lookup, std::uint16_t code,
                    const std::vector<RemoteModifier>& modifiers) {
    const auto* found = std::get_if<SymbolicHotKeys::KeyStroke>(&lookup);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->keyCode, code);
    EXPECT_EQ(found->modifiers, modifiers);
  }

  test::FakeUserPreferences preferences_;
  SymbolicHotKeys hotKeys_{preferences_};
};

TEST_F(SymbolicHotKeysTest, isNotDefinedWithoutPreferences) { EXPECT_TRUE(isNotDefined(hotKeys_.find(79))); }

TEST_F(SymbolicHotKeysTest, isNotDefinedWhenThePreferenceIsNoDictionary) {
  preferences_.values[{"com.apple.symbolichotkeys", "AppleSymbolicHotKeys"}] = text("none");
  EXPECT_TRUE(isNotDefined(hotKeys_.find(79)));
}

TEST_F(SymbolicHotKeysTest, isNotDefinedWithoutAnEntryOfThatNumber) {
  preferences_.setHotKeys({{"7", {entryWith({whole(1), whole(2), whole(0)})}}});
  EXPECT_TRUE(isNotDefined(hotKeys_.find(79)));
}

TEST_F(SymbolicHotKeysTest, isNotDefinedWhenTheEntryIsNoDictionary) {
  EXPECT_TRUE(isNotDefined(findWith(whole(1))));
}

TEST_F(SymbolicHotKeysTest, findsCodeAndModifiers) {
  expectStroke(
      findWith({entryWith({whole(65535), whole(123), whole(0x1E0000)})}), 123,
      {RemoteModifier::shift, RemoteModifier::control, RemoteModifier::option, RemoteModifier::command});
}

TEST_F(SymbolicHotKeysTest, mapsEachModifierBitAndDropsTheOthers) {
  const std::pair<std::int64_t, RemoteModifier> bits[] = {{0x20000, RemoteModifier::shift},
                                                          {0x40000, RemoteModifier::control},
                                                          {0x80000, RemoteModifier::option},
                                                          {0x100000, RemoteModifier::command}};
  for (const auto& [bit, modifier] : bits) {
    expectStroke(findWith({entryWith({whole(0), whole(5), whole(bit | 0xA00001)})}), 5, {modifier});
  }
}

TEST_F(SymbolicHotKeysTest, readsEnabledAsBooleanOrNumber) {
  const std::pair<PreferenceValue, bool> cases[] = {
      {{false}, false}, {{true}, true}, {whole(0), false}, {whole(1), true},   {whole(-3), true},
      {{0.5}, false},   {{2.5}, true},  {{1e300}, true},   {text("no"), true}, {{Array{}}, true}};
  for (const auto& [enabled, expected] : cases) {
    auto entry = entryWith({whole(0), whole(5), whole(0)});
    entry["enabled"] = enabled;
    EXPECT_EQ(isDisabled(findWith({entry})), !expected) << enabled.content.index();
  }
}

TEST_F(SymbolicHotKeysTest, isDisabledEvenWithoutAValue) {
  EXPECT_TRUE(isDisabled(findWith({Dictionary{{"enabled", {false}}}})));
}

TEST_F(SymbolicHotKeysTest, isNotDefinedWithoutUsableParameters) {
  EXPECT_TRUE(isNotDefined(findWith({Dictionary{}})));
  EXPECT_TRUE(isNotDefined(findWith({Dictionary{{"value", text("x")}}})));
  EXPECT_TRUE(isNotDefined(findWith({Dictionary{{"value", {Dictionary{}}}}})));
  EXPECT_TRUE(isNotDefined(findWith({Dictionary{{"value", {Dictionary{{"parameters", text("x")}}}}}})));
  EXPECT_TRUE(isNotDefined(findWith({entryWith({whole(1), whole(2)})})));
  EXPECT_TRUE(isNotDefined(findWith({entryWith({whole(1), text("2"), whole(3)})})));
}

TEST_F(SymbolicHotKeysTest, takes65535ForNoKey) {
  EXPECT_TRUE(isNotDefined(findWith({entryWith({whole(65535), whole(65535), whole(0)})})));
}

TEST_F(SymbolicHotKeysTest, cutsNumbersToTheirWidth) {
  expectStroke(findWith({entryWith({whole(0), whole(0x10005), whole(0)})}), 5, {});
  expectStroke(findWith({entryWith({{0.0}, {103.9}, {131072.0}})}), 103, {RemoteModifier::shift});
  expectStroke(findWith({entryWith({{0.0}, {std::numeric_limits<double>::quiet_NaN()}, {0.0}})}), 0, {});
}

TEST_F(SymbolicHotKeysTest, readsThePreferencesAfreshEachTime) {
  expectStroke(findWith({entryWith({whole(0), whole(5), whole(0)})}), 5, {});
  expectStroke(findWith({entryWith({whole(0), whole(6), whole(0)})}), 6, {});
  EXPECT_EQ(preferences_.reads, 2);
}

}  // namespace
}  // namespace tevanto
