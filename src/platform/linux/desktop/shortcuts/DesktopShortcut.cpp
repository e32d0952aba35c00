#include "platform/linux/desktop/shortcuts/DesktopShortcut.h"

#include <algorithm>
#include <string>
#include <utility>

#include "control/InputEvents.h"
#include "platform/linux/input/VirtualKeyCodes.h"

namespace tevanto {
namespace {

// By virtual key code; a blank where the key has a name of more than one character.
constexpr std::string_view kCharacters = "asdfhgzxcv bqweryt123465=97-80]ou[ip lj'k;\\,/nm.  `";

// Names as X and GTK have them, then Qt's where they differ; in lower case.
constexpr std::pair<std::string_view, std::uint16_t> kNames[] = {
    {"left", 123},      {"right", 124},      {"up", 126},          {"down", 125},     {"page_up", 116},
    {"prior", 116},     {"pgup", 116},       {"page_down", 121},   {"next", 121},     {"pgdown", 121},
    {"home", 115},      {"end", 119},        {"insert", 114},      {"ins", 114},      {"delete", 117},
    {"del", 117},       {"backspace", 51},   {"escape", 53},       {"esc", 53},       {"return", 36},
    {"tab", 48},        {"space", 49},       {"above_tab", 50},    {"grave", 50},     {"minus", 27},
    {"equal", 24},      {"bracketleft", 33}, {"bracketright", 30}, {"backslash", 42}, {"semicolon", 41},
    {"apostrophe", 39}, {"comma", 43},       {"period", 47},       {"slash", 44},     {"f1", 122},
    {"f2", 120},        {"f3", 99},          {"f4", 118},          {"f5", 96},        {"f6", 97},
    {"f7", 98},         {"f8", 100},         {"f9", 101},          {"f10", 109},      {"f11", 103},
    {"f12", 111},       {"f13", 105},        {"f14", 107},         {"f15", 113},      {"f16", 106},
    {"f17", 64},        {"f18", 79},         {"f19", 80},          {"f20", 90}};

struct Modifier {
  std::uint32_t flag;
  std::uint16_t keyCodeBit;
};
constexpr Modifier kSuper{0, kSuperKeyBit};
constexpr std::pair<std::string_view, Modifier> kGtkModifiers[] = {{"control", {eventFlag::kControl, 0}},
                                                                   {"ctrl", {eventFlag::kControl, 0}},
                                                                   {"ctl", {eventFlag::kControl, 0}},
                                                                   {"primary", {eventFlag::kControl, 0}},
                                                                   {"shift", {eventFlag::kShift, 0}},
                                                                   {"shft", {eventFlag::kShift, 0}},
                                                                   {"alt", {eventFlag::kOption, 0}},
                                                                   {"mod1", {eventFlag::kOption, 0}},
                                                                   {"super", kSuper},
                                                                   {"mod4", kSuper}};
constexpr std::pair<std::string_view, Modifier> kQtModifiers[] = {{"ctrl", {eventFlag::kControl, 0}},
                                                                  {"shift", {eventFlag::kShift, 0}},
                                                                  {"alt", {eventFlag::kOption, 0}},
                                                                  {"meta", kSuper}};

std::string lowered(std::string_view text) {
  std::string result(text);
  for (auto& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

template <class Table>
auto lookUp(const Table& table, std::string_view name)
    -> std::optional<std::remove_cvref_t<decltype(std::begin(table)->second)>> {
  const auto lower = lowered(name);
  for (const auto& [candidate, value] : table)
    if (candidate == lower) return value;
  return std::nullopt;
}

std::optional<std::uint16_t> keyCodeOf(std::string_view name) {
  if (name.size() == 1 && name != " ") {
    const auto at = kCharacters.find(lowered(name));
    if (at == std::string_view::npos) return std::nullopt;
    return static_cast<std::uint16_t>(at);
  }
  return lookUp(kNames, name);
}

template <class Table>
bool addModifier(DesktopShortcut& shortcut, const Table& table, std::string_view name) {
  const auto modifier = lookUp(table, name);
  if (!modifier) return false;
  shortcut.modifiers |= modifier->flag;
  shortcut.keyCode |= modifier->keyCodeBit;
  return true;
}

std::optional<DesktopShortcut> withKey(DesktopShortcut shortcut, std::string_view name) {
  const auto keyCode = keyCodeOf(name);
  if (!keyCode) return std::nullopt;
  shortcut.keyCode |= *keyCode;
  return shortcut;
}

}  // namespace

std::optional<DesktopShortcut> DesktopShortcut::fromGtk(std::string_view accelerator) {
  DesktopShortcut shortcut;
  while (accelerator.starts_with('<')) {
    const auto end = accelerator.find('>');
    if (end == std::string_view::npos) return std::nullopt;
    if (!addModifier(shortcut, kGtkModifiers, accelerator.substr(1, end - 1))) return std::nullopt;
    accelerator.remove_prefix(end + 1);
  }
  return withKey(shortcut, accelerator);
}

std::optional<DesktopShortcut> DesktopShortcut::fromQt(std::string_view sequence) {
  DesktopShortcut shortcut;
  for (auto plus = sequence.find('+'); plus != std::string_view::npos && plus + 1 < sequence.size();
       plus = sequence.find('+')) {
    if (!addModifier(shortcut, kQtModifiers, sequence.substr(0, plus))) return std::nullopt;
    sequence.remove_prefix(plus + 1);
  }
  return withKey(shortcut, sequence);
}

}  // namespace tevanto
