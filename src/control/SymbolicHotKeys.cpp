#include "control/SymbolicHotKeys.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "control/InputEvents.h"
#include "control/UserPreferences.h"

namespace tevanto {
namespace {

constexpr std::int64_t kNoKey = 65535;
constexpr std::array<std::pair<std::uint32_t, RemoteModifier>, 4> kModifierBits = {
    {{eventFlag::kShift, RemoteModifier::shift},
     {eventFlag::kControl, RemoteModifier::control},
     {eventFlag::kOption, RemoteModifier::option},
     {eventFlag::kCommand, RemoteModifier::command}}};

/// The integer value of a number, fractions cut off; nothing for what is no number. Bounds that no key code
/// and no mask comes near keep a wild one defined.
std::optional<std::int64_t> integer(const PreferenceValue& value) {
  if (const auto* whole = std::get_if<std::int64_t>(&value.content)) return *whole;
  const auto* number = std::get_if<double>(&value.content);
  if (!number) return std::nullopt;
  if (!(*number == *number)) return 0;
  return static_cast<std::int64_t>(std::clamp(*number, -9e18, 9e18));
}

bool isEnabled(const PreferenceValue& entry) {
  const auto* enabled = entry.member("enabled");
  if (!enabled) return true;
  if (const auto* flag = std::get_if<bool>(&enabled->content)) return *flag;
  return integer(*enabled).value_or(1) != 0;
}

/// "parameters": a character, the key code, and the mask of the modifiers.
std::optional<std::vector<std::int64_t>> parameters(const PreferenceValue& entry) {
  const auto* value = entry.member("value");
  const auto* list = value ? value->member("parameters") : nullptr;
  if (!list || !list->array() || list->array()->size() < 3) return std::nullopt;
  std::vector<std::int64_t> numbers;
  for (const auto& element : *list->array()) {
    const auto number = integer(element);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

std::vector<RemoteModifier> modifiersIn(std::int64_t mask) {
  std::vector<RemoteModifier> modifiers;
  for (const auto& [bit, modifier] : kModifierBits) {
    if (mask & bit) modifiers.push_back(modifier);
  }
  return modifiers;
}

}  // namespace

SymbolicHotKeys::Lookup SymbolicHotKeys::find(int identifier) const {
  const auto all = preferences_.value("AppleSymbolicHotKeys", "com.apple.symbolichotkeys");
  const auto* entry = all ? all->member(std::to_string(identifier)) : nullptr;
  if (!entry || !entry->dictionary()) return NotDefined{};
  if (!isEnabled(*entry)) return Disabled{};
  const auto numbers = parameters(*entry);
  if (!numbers || (*numbers)[1] == kNoKey) return NotDefined{};
  return KeyStroke{static_cast<std::uint16_t>((*numbers)[1]), modifiersIn((*numbers)[2])};
}

}  // namespace tevanto
