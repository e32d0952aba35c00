#include "phone/commands/KeyNames.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tevanto::phone {
namespace {

struct Alias {
  std::string_view name;  // in lower case
  std::string_view key;
};

constexpr std::array<Alias, 19> kAliases = {{{"escape", "escape"},
                                             {"esc", "escape"},
                                             {"tab", "tab"},
                                             {"return", "returnKey"},
                                             {"returnkey", "returnKey"},
                                             {"enter", "returnKey"},
                                             {"delete", "delete"},
                                             {"backspace", "delete"},
                                             {"space", "space"},
                                             {" ", "space"},
                                             {"left", "arrowLeft"},
                                             {"arrowleft", "arrowLeft"},
                                             {"right", "arrowRight"},
                                             {"arrowright", "arrowRight"},
                                             {"up", "arrowUp"},
                                             {"arrowup", "arrowUp"},
                                             {"down", "arrowDown"},
                                             {"arrowdown", "arrowDown"},
                                             {"\n", "returnKey"}}};

// The same places hold the same key.
constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyz1234567890-=[]\\;',./`";
constexpr std::string_view kShifted = "ABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()_+{}|:\"<>?~";
static_assert(kPlain.size() == kShifted.size());

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return result;
}

}  // namespace

std::optional<NamedKey> keyNamed(std::string_view name) {
  if (name.size() == 1) {
    if (kPlain.find(name[0]) != std::string_view::npos) return NamedKey{std::string(name), false};
    const auto place = kShifted.find(name[0]);
    if (place != std::string_view::npos) return NamedKey{std::string(1, kPlain[place]), true};
  }
  const auto wanted = lower(name);
  const auto* alias = std::find_if(kAliases.begin(), kAliases.end(),
                                   [&](const auto& candidate) { return candidate.name == wanted; });
  if (alias == kAliases.end()) return std::nullopt;
  return NamedKey{std::string(alias->key), false};
}

std::string keyNames() {
  return "escape, tab, return, delete, space, left, right, up, down, or one character of the US layout";
}

}  // namespace tevanto::phone
