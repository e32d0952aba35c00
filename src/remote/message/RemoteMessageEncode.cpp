#include <array>
#include <charconv>
#include <cmath>

#include "core/text/Decimals.h"
#include "remote/message/RemoteMessageCodec.h"
#include "remote/message/WireField.h"

namespace tevanto {
namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

/// The length of the UTF-8 sequence (RFC 3629) at the start of `text`, which begins with a byte of 0x80 or
/// above; 0 when it is ill-formed.
std::size_t sequenceLength(std::string_view text) {
  const auto at = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : static_cast<unsigned char>(0);
  };
  const unsigned char lead = at(0);
  const unsigned char second = at(1);
  if (lead >= 0xC2 && lead <= 0xDF) return isContinuation(second) ? 2 : 0;
  if (!isContinuation(second) || !isContinuation(at(2))) return 0;
  if (lead == 0xE0) return second >= 0xA0 ? 3 : 0;  // else overlong
  if (lead == 0xED) return second < 0xA0 ? 3 : 0;   // else a surrogate
  if (lead >= 0xE1 && lead <= 0xEF) return 3;
  if (!isContinuation(at(3))) return 0;
  if (lead == 0xF0) return second >= 0x90 ? 4 : 0;  // else overlong
  if (lead == 0xF4) return second < 0x90 ? 4 : 0;   // else above U+10FFFF
  return lead >= 0xF1 && lead <= 0xF3 ? 4 : 0;
}

void appendEscaped(unsigned char byte, std::string& out) {
  constexpr std::string_view kHex = "0123456789abcdef";
  switch (byte) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      out += "\\u00";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
  }
}

bool append(std::string_view text, std::string& out) {
  out += '"';
  std::size_t plain = 0;  // from here on not yet written
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x80) {
      const std::size_t length = sequenceLength(text.substr(i));
      if (length == 0) return false;
      i += length;
    } else if (byte < 0x20 || byte == '"' || byte == '\\') {
      out.append(text, plain, i - plain);
      appendEscaped(byte, out);
      plain = ++i;
    } else {
      ++i;
    }
  }
  out.append(text, plain, text.size() - plain);
  out += '"';
  return true;
}

bool append(const std::string& text, std::string& out) { return append(std::string_view(text), out); }

using Digits = std::array<char, 32>;

bool append(double value, std::string& out) {
  if (!std::isfinite(value)) return false;
  Digits digits;
  out.append(digits.data(), toChars(digits.data(), digits.data() + digits.size(), value).ptr);
  return true;
}

bool append(std::int64_t value, std::string& out) {
  Digits digits;
  out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
  return true;
}

bool append(bool value, std::string& out) {
  out += value ? "true" : "false";
  return true;
}

bool append(RemoteModifier modifier, std::string& out) { return append(wireName(modifier), out); }
bool append(const RemoteCommand& command, std::string& out);
bool append(const RemoteAppInfo& app, std::string& out);

template <class Element>
bool append(const std::vector<Element>& elements, std::string& out) {
  out += '[';
  for (const auto& element : elements) {
    if (&element != &elements.front()) out += ',';
    if (!append(element, out)) return false;
  }
  out += ']';
  return true;
}

template <class Value>
const Value* present(const std::optional<Value>& value) {
  return value ? &*value : nullptr;
}
const std::string* present(const std::string& value) { return &value; }

template <class Record>
bool appendRecord(const Record& record, std::string& out) {
  char before = '{';
  for (const auto& field : wireFields(record)) {
    const bool written = std::visit(
        [&](auto member) {
          const auto* value = present(record.*member);
          if (!value) return true;
          out += before;
          out += '"';
          out += field.name;
          out += "\":";
          before = ',';
          return append(*value, out);
        },
        field.member);
    if (!written) return false;
  }
  out += '}';
  return true;
}

bool append(const RemoteCommand& command, std::string& out) { return appendRecord(command, out); }
bool append(const RemoteAppInfo& app, std::string& out) { return appendRecord(app, out); }

}  // namespace

bool encodeRemoteMessage(const RemoteMessage& message, std::string& out) {
  const std::size_t before = out.size();
  if (appendRecord(message, out)) return true;
  out.resize(before);
  return false;
}

}  // namespace tevanto
