#include "control/KeyCodes.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/text/Text.h"

namespace tevanto {
namespace {

struct NamedKey {
  std::string_view name;
  std::uint16_t code;
};

constexpr std::array<NamedKey, 9> kNamedKeys = {{{"escape", 53},
                                                 {"tab", 48},
                                                 {"returnKey", 36},
                                                 {"delete", 51},
                                                 {"space", 49},
                                                 {"arrowLeft", keyCode::kArrowLeft},
                                                 {"arrowRight", keyCode::kArrowRight},
                                                 {"arrowUp", keyCode::kArrowUp},
                                                 {"arrowDown", keyCode::kArrowDown}}};

struct CharacterKey {
  char16_t character;
  std::uint16_t code;
};

constexpr std::array<CharacterKey, 47> kCharacterKeys = {
    {{u'a', keyCode::kA}, {u's', 1},  {u'd', 2},  {u'f', 3},  {u'h', 4},  {u'g', 5},   {u'z', 6},  {u'x', 7},
     {u'c', 8},           {u'v', 9},  {u'b', 11}, {u'q', 12}, {u'w', 13}, {u'e', 14},  {u'r', 15}, {u'y', 16},
     {u't', 17},          {u'1', 18}, {u'2', 19}, {u'3', 20}, {u'4', 21}, {u'6', 22},  {u'5', 23}, {u'=', 24},
     {u'9', 25},          {u'7', 26}, {u'-', 27}, {u'8', 28}, {u'0', 29}, {u']', 30},  {u'o', 31}, {u'u', 32},
     {u'[', 33},          {u'i', 34}, {u'p', 35}, {u'l', 37}, {u'j', 38}, {u'\'', 39}, {u'k', 40}, {u';', 41},
     {u'\\', 42},         {u',', 43}, {u'/', 44}, {u'n', 45}, {u'm', 46}, {u'.', 47},  {u'`', 50}}};

constexpr std::array<std::uint16_t, 20> kFunctionKeys = {
    122, 120, 99, 118, 96, 97, 98, 100, 101, 109, keyCode::kF11, 111, 105, 107, 113, 106, 64, 79, 80, 90};

std::optional<std::uint16_t> keyCodeOf(std::u16string_view character) {
  if (character.size() != 1) return std::nullopt;  // a base letter with a combining accent is another letter
  const auto* found = std::find_if(kCharacterKeys.begin(), kCharacterKeys.end(),
                                   [&](const auto& key) { return key.character == character[0]; });
  if (found == kCharacterKeys.end()) return std::nullopt;
  return found->code;
}

}  // namespace

std::optional<std::uint16_t> keyCodeNamed(std::string_view name) {
  for (const auto& key : kNamedKeys) {
    if (key.name == name) return key.code;
  }
  std::u16string first;
  bool found = false;
  forEachGraphemeCluster(lowerCased(name), [&](std::u16string_view character) {
    if (!found) first = character;
    found = true;
  });
  return keyCodeOf(first);
}

bool isFunctionKey(std::uint16_t code) {
  return std::find(kFunctionKeys.begin(), kFunctionKeys.end(), code) != kFunctionKeys.end();
}

bool isArrowKey(std::uint16_t code) { return code >= keyCode::kArrowLeft && code <= keyCode::kArrowUp; }

}  // namespace tevanto
