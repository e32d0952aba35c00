#include "platform/macos/values/system/PowerSourceDescription.h"

namespace tevanto {
namespace {

std::optional<std::int64_t> integer(const PreferenceValue* value) {
  const auto* number = value ? std::get_if<std::int64_t>(&value->content) : nullptr;
  return number ? std::optional(*number) : std::nullopt;
}

}  // namespace

PowerSource powerSourceOf(const PreferenceValue& description) {
  PowerSource source;
  source.currentCapacity = integer(description.member(powerSourceKey::kCurrentCapacity));
  source.maxCapacity = integer(description.member(powerSourceKey::kMaxCapacity));
  const auto* state = description.member(powerSourceKey::kState);
  if (const auto* text = state ? std::get_if<std::string>(&state->content) : nullptr) source.state = *text;
  return source;
}

}  // namespace tevanto
