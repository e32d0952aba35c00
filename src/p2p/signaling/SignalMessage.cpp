#include "p2p/signaling/SignalMessage.h"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <cmath>
#include <limits>

#include "core/text/ExactJson.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

namespace json = boost::json;

/// Deeper nesting fails; messages themselves use three levels.
constexpr std::size_t kMaxDepth = 32;

/// The member's value; null stands for an absent member.
const json::value* memberOf(const json::object& object, std::string_view name) {
  const auto* value = object.if_contains(name);
  return value && !value->is_null() ? value : nullptr;
}

bool read(const json::value& value, std::string& out) {
  if (!value.is_string()) return false;
  out.assign(value.get_string().data(), value.get_string().size());
  return true;
}

bool read(const json::value& value, std::int32_t& out) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (!value.is_number()) return false;
  const auto number = value.to_number<double>();  // exact for all that 32 bits can hold
  if (!(number >= Limits::min() && number <= Limits::max()) || number != std::trunc(number)) return false;
  out = static_cast<std::int32_t>(number);
  return true;
}

bool read(const json::value& value, SignalIceCandidate& out);

template <class Element>
bool read(const json::value& value, std::vector<Element>& out) {
  if (!value.is_array()) return false;
  for (const auto& element : value.get_array()) {
    if (!read(element, out.emplace_back())) return false;
  }
  return true;
}

template <class Value>
bool readRequired(const json::object& object, std::string_view name, Value& out) {
  const auto* value = memberOf(object, name);
  return value && read(*value, out);
}

template <class Value>
bool readOptional(const json::object& object, std::string_view name, std::optional<Value>& out) {
  const auto* value = memberOf(object, name);
  return !value || read(*value, out.emplace());
}

bool read(const json::value& value, SignalIceCandidate& out) {
  const auto* object = value.if_object();
  return object && readRequired(*object, "candidate", out.candidate) &&
         readOptional(*object, "sdpMid", out.sdpMid) &&
         readOptional(*object, "sdpMLineIndex", out.sdpMLineIndex);
}

json::value written(const std::string& text) { return json::value(wellFormedUtf8(text)); }
json::value written(std::int32_t number) { return json::value(number); }
json::value written(const SignalIceCandidate& candidate);

template <class Element>
json::value written(const std::vector<Element>& elements) {
  json::array array;
  for (const auto& element : elements) array.push_back(written(element));
  return array;
}

template <class Value>
void write(json::object& object, std::string_view name, const std::optional<Value>& value) {
  if (value) object.emplace(name, written(*value));
}

json::value written(const SignalIceCandidate& candidate) {
  json::object object;
  object.emplace("candidate", written(candidate.candidate));
  write(object, "sdpMid", candidate.sdpMid);
  write(object, "sdpMLineIndex", candidate.sdpMLineIndex);
  return object;
}

}  // namespace

std::string_view toString(SignalRole role) { return role == SignalRole::mac ? "mac" : "phone"; }

std::string encodeSignalMessage(const SignalMessage& message) {
  json::object object;  // keeps its members in the order of their arrival
  object.emplace("type", written(message.type));
  write(object, "sdp", message.sdp);
  write(object, "candidate", message.candidate);
  write(object, "sdpMid", message.sdpMid);
  write(object, "sdpMLineIndex", message.sdpMLineIndex);
  write(object, "candidates", message.candidates);
  return json::serialize(object);
}

std::optional<SignalMessage> decodeSignalMessage(std::string_view text) {
  const auto object = parseExactObject(text, kMaxDepth);
  if (!object) return std::nullopt;
  SignalMessage message;
  const bool complete = readRequired(*object, "type", message.type) &&
                        readOptional(*object, "sdp", message.sdp) &&
                        readOptional(*object, "candidate", message.candidate) &&
                        readOptional(*object, "sdpMid", message.sdpMid) &&
                        readOptional(*object, "sdpMLineIndex", message.sdpMLineIndex) &&
                        readOptional(*object, "candidates", message.candidates);
  if (!complete) return std::nullopt;
  return message;
}

}  // namespace tevanto
