#include "remote/invites/CloudPairingInvite.h"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <utility>

#include "core/text/ExactJson.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

namespace json = boost::json;

constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kCodeDigits = 6;

std::optional<std::string> text(const json::object& object, std::string_view name) {
  const auto* value = object.if_contains(name);
  if (!value || !value->is_string()) return std::nullopt;
  return std::string(value->get_string().data(), value->get_string().size());
}

}  // namespace

std::string encodePairingInvite(const CloudPairingInvite& invite) {
  json::object object;  // keeps its members in the order of their arrival
  object.emplace("deviceID", wellFormedUtf8(invite.deviceID));
  object.emplace("deviceName", wellFormedUtf8(invite.deviceName));
  return json::serialize(object);
}

std::optional<CloudPairingInvite> decodePairingInvite(std::string_view json) {
  const auto object = parseExactObject(json, kMaxDepth);
  if (!object) return std::nullopt;
  auto deviceID = text(*object, "deviceID");
  auto deviceName = text(*object, "deviceName");
  if (!deviceID || !deviceName) return std::nullopt;
  return CloudPairingInvite{std::move(*deviceID), std::move(*deviceName)};
}

std::optional<std::string> pairInviteRecordName(std::string_view code) {
  std::string digits;
  for (const char character : code) {
    if (character >= '0' && character <= '9') digits += character;
  }
  return digits.size() == kCodeDigits ? std::optional("tevanto-pair-" + digits) : std::nullopt;
}

}  // namespace tevanto
