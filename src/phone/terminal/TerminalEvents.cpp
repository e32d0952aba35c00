#include "phone/terminal/TerminalEvents.h"

#include <array>
#include <charconv>

namespace tevanto::phone {
namespace {

constexpr char kEscape = 0x1b;
constexpr std::size_t kMaxSequence = 64;

std::optional<TerminalKey> arrow(char final, bool shift) {
  switch (final) {
    case 'A':
      return TerminalKey{TerminalKey::Kind::up, 0, shift};
    case 'B':
      return TerminalKey{TerminalKey::Kind::down, 0, shift};
    case 'C':
      return TerminalKey{TerminalKey::Kind::right, 0, shift};
    case 'D':
      return TerminalKey{TerminalKey::Kind::left, 0, shift};
    default:
      return std::nullopt;
  }
}

/// "b;x;y" behind "<": the button with its flags, column and row.
std::optional<std::array<int, 3>> numbers(std::string_view text) {
  std::array<int, 3> values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), values[i]);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    const bool last = i + 1 == values.size();
    if (last != text.empty() || (!last && text[0] != ';')) return std::nullopt;
    if (!last) text.remove_prefix(1);
  }
  return values;
}

std::optional<TerminalMouse> mouse(std::string_view parameters, char final) {
  const auto values = numbers(parameters);
  if (!values) return std::nullopt;
  constexpr int kMotion = 32;
  constexpr int kWheel = 64;
  const auto [flags, column, row] = *values;
  const int button = flags & 3;
  TerminalMouse event{TerminalMouse::Kind::press, button, column, row};
  if (flags & kWheel) {
    constexpr std::array<TerminalMouse::Kind, 4> wheels = {
        TerminalMouse::Kind::wheelUp, TerminalMouse::Kind::wheelDown, TerminalMouse::Kind::wheelLeft,
        TerminalMouse::Kind::wheelRight};
    event.kind = wheels[static_cast<std::size_t>(button)];
  } else if (flags & kMotion) {
    event.kind = TerminalMouse::Kind::motion;
  } else if (final == 'm') {
    event.kind = TerminalMouse::Kind::release;
  }
  return event;
}

TerminalKey character(char byte) {
  if (byte == '\r' || byte == '\n') return {TerminalKey::Kind::enter, 0, false};
  return {TerminalKey::Kind::character, byte, false};
}

}  // namespace

std::vector<TerminalEvent> TerminalEvents::feed(std::string_view bytes) {
  pending_ += bytes;
  std::vector<TerminalEvent> events;
  while (!pending_.empty() && parseOne(events)) {
  }
  return events;
}

bool TerminalEvents::parseOne(std::vector<TerminalEvent>& events) {
  if (pending_[0] != kEscape) {
    events.emplace_back(character(pending_[0]));
    pending_.erase(0, 1);
    return true;
  }
  if (pending_.size() < 2) return false;
  if (pending_[1] == '[') return parseSequence(events);
  if (pending_[1] != 'O') {  // the escape key, or a key with Alt: the key itself follows
    pending_.erase(0, 1);
    return true;
  }
  if (pending_.size() < 3) return false;
  if (const auto key = arrow(pending_[2], false)) events.emplace_back(*key);
  pending_.erase(0, 3);
  return true;
}

bool TerminalEvents::parseSequence(std::vector<TerminalEvent>& events) {
  std::size_t end = 2;
  while (end < pending_.size() && (pending_[end] < 0x40 || pending_[end] > 0x7e)) ++end;
  if (end == pending_.size()) {
    if (end > kMaxSequence) pending_.clear();
    return false;
  }
  const char final = pending_[end];
  const auto parameters = std::string_view(pending_).substr(2, end - 2);
  if (parameters.starts_with('<') && (final == 'M' || final == 'm')) {
    if (const auto event = mouse(parameters.substr(1), final)) events.emplace_back(*event);
  } else if (const auto key = arrow(final, parameters == "1;2")) {
    events.emplace_back(*key);
  }
  pending_.erase(0, end + 1);
  return true;
}

}  // namespace tevanto::phone
