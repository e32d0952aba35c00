#include "app/ipc/IpcMessages.h"

#include <array>
#include <boost/json.hpp>
#include <utility>

#include "app/ipc/CompanionStatusJson.h"

namespace tevanto {
namespace {

namespace json = boost::json;
using Kind = IpcRequest::Kind;

constexpr std::array<std::pair<Kind, std::string_view>, 5> kNames = {
    {{Kind::status, "status"},
     {Kind::keepAwake, "keepAwake"},
     {Kind::showSetupWindow, "tevantoOpenSetup"},
     {Kind::reloadDefaults, "reloadDefaults"},
     {Kind::giveWay, "giveWay"}}};

std::optional<Kind> kindNamed(std::string_view name) {
  for (const auto& [kind, text] : kNames) {
    if (text == name) return kind;
  }
  return std::nullopt;
}

std::string_view nameOf(Kind kind) {
  for (const auto& [known, text] : kNames) {
    if (known == kind) return text;
  }
  return {};
}

}  // namespace

Result<IpcRequest> decodeIpcRequest(std::string_view line) {
  boost::system::error_code error;
  const auto value = json::parse(line, error);
  if (error || !value.is_object()) return Failure{"A request is one JSON object on one line."};
  const auto* name = value.as_object().if_contains("request");
  if (!name || !name->is_string()) return Failure{"A request names itself in the string \"request\"."};
  const auto kind = kindNamed(name->as_string());
  if (!kind) return Failure{"Requests are status, keepAwake, tevantoOpenSetup, reloadDefaults and giveWay."};

  IpcRequest request{*kind};
  if (*kind == Kind::keepAwake) {
    const auto* on = value.as_object().if_contains("on");
    if (!on || !on->is_bool()) return Failure{"keepAwake needs the boolean \"on\"."};
    request.on = on->as_bool();
  }
  if (*kind == Kind::showSetupWindow) {
    const auto* token = value.as_object().if_contains("activationToken");
    if (token && !token->is_string()) return Failure{"An activation token is a string."};
    if (token) request.activationToken = token->as_string().c_str();
  }
  return request;
}

std::string encodeIpcRequest(const IpcRequest& request) {
  json::object object{{"request", nameOf(request.kind)}};
  if (request.kind == Kind::keepAwake) object["on"] = request.on;
  if (!request.activationToken.empty()) object["activationToken"] = request.activationToken;
  return json::serialize(object);
}

std::optional<IpcReply> decodeIpcReply(std::string_view line) {
  boost::system::error_code error;
  const auto value = json::parse(line, error);
  if (error || !value.is_object()) return std::nullopt;
  const auto& object = value.as_object();
  const auto* ok = object.if_contains("ok");
  if (!ok || !ok->is_bool()) return std::nullopt;
  IpcReply reply{ok->as_bool(), {}, {}};
  if (const auto* text = object.if_contains("error"); text && text->is_string()) {
    reply.error = text->as_string().c_str();
  }
  if (const auto* status = object.if_contains("status"); status && status->is_object()) {
    reply.status = companionStatusFrom(status->as_object());
  }
  return reply;
}

std::string encodeIpcReply(const IpcReply& reply) {
  json::object object{{"ok", reply.ok}};
  if (!reply.ok) object["error"] = reply.error;
  if (reply.status) object["status"] = toJson(*reply.status);
  return json::serialize(object);
}

}  // namespace tevanto
