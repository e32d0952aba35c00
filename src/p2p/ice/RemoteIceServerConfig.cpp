#include "p2p/ice/RemoteIceServerConfig.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <string>
#include <utility>

#include "core/text/ExactJson.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

namespace json = boost::json;
using std::chrono::system_clock;

/// Deeper nesting fails; a service's answer itself uses four levels.
constexpr std::size_t kMaxDepth = 32;
/// 2001-01-01 00:00 UTC on the system's clock, where cached dates begin.
constexpr system_clock::time_point kReferenceDate{std::chrono::seconds(978'307'200)};

using Seconds = std::chrono::duration<double>;

const json::value* memberOf(const json::object& object, std::string_view name) {
  const auto* value = object.if_contains(name);
  return value && !value->is_null() ? value : nullptr;
}

bool readString(const json::value& value, std::string& out) {
  if (!value.is_string()) return false;
  out.assign(value.get_string().data(), value.get_string().size());
  return true;
}

bool readOptional(const json::object& object, std::string_view name, std::optional<std::string>& out) {
  const auto* value = memberOf(object, name);
  return !value || readString(*value, out.emplace());
}

bool readServer(const json::value& value, RemoteIceServerConfig& out) {
  const auto* object = value.if_object();
  if (!object) return false;
  const auto* urls = memberOf(*object, "urls");
  if (!urls) urls = memberOf(*object, "urlStrings");
  if (!urls || !urls->is_array()) return false;
  for (const auto& url : urls->get_array()) {
    if (!readString(url, out.urlStrings.emplace_back())) return false;
  }
  return readOptional(*object, "username", out.username) &&
         readOptional(*object, "credential", out.credential);
}

std::optional<std::vector<RemoteIceServerConfig>> readServers(const json::value* value) {
  if (!value || !value->is_array()) return std::nullopt;
  std::vector<RemoteIceServerConfig> servers;
  for (const auto& element : value->get_array()) {
    if (!readServer(element, servers.emplace_back())) return std::nullopt;
  }
  return servers;
}

json::array written(const std::vector<RemoteIceServerConfig>& servers) {
  json::array array;
  for (const auto& server : servers) {
    json::array urls;
    for (const auto& url : server.urlStrings) urls.emplace_back(wellFormedUtf8(url));
    json::object object;  // keeps its members in the order of their arrival
    object.emplace("urls", std::move(urls));
    if (server.username) object.emplace("username", wellFormedUtf8(*server.username));
    if (server.credential) object.emplace("credential", wellFormedUtf8(*server.credential));
    array.push_back(std::move(object));
  }
  return array;
}

/// Nothing for a date that the system's clock cannot hold.
std::optional<system_clock::time_point> readDate(const json::value* value) {
  if (!value || !value->is_number()) return std::nullopt;
  const Seconds sinceReference(value->to_number<double>());
  constexpr Seconds kFarthest{8.0e9};  // some 253 years; the clock holds 292 on both sides of 1970
  if (!(sinceReference > -kFarthest && sinceReference < kFarthest)) return std::nullopt;
  return kReferenceDate + std::chrono::duration_cast<system_clock::duration>(sinceReference);
}

bool isTURN(const std::string& url) { return url.starts_with("turn:") || url.starts_with("turns:"); }

}  // namespace

bool isTURNServer(const RemoteIceServerConfig& server) {
  return std::any_of(server.urlStrings.begin(), server.urlStrings.end(), isTURN);
}

bool hasTURNServer(const std::vector<RemoteIceServerConfig>& servers) {
  return std::any_of(servers.begin(), servers.end(), isTURNServer);
}

std::string encodeIceServers(const std::vector<RemoteIceServerConfig>& servers) {
  return json::serialize(written(servers));
}

std::optional<std::vector<RemoteIceServerConfig>> decodeIceServers(std::string_view text) {
  json::parse_options options;
  options.max_depth = kMaxDepth;
  boost::system::error_code error;
  const auto document = json::parse({text.data(), text.size()}, error, {}, options);
  return error ? std::nullopt : readServers(&document);
}

std::optional<std::vector<RemoteIceServerConfig>> decodeRemoteIceServersResponse(std::string_view text) {
  const auto object = parseExactObject(text, kMaxDepth);
  return object ? readServers(memberOf(*object, "iceServers")) : std::nullopt;
}

std::string encodeBrokeredIceServers(const BrokeredIceServers& brokered) {
  json::object object;
  object.emplace("servers", written(brokered.servers));
  object.emplace("loadedAt", Seconds(brokered.loadedAt - kReferenceDate).count());
  return json::serialize(object);
}

std::optional<BrokeredIceServers> decodeBrokeredIceServers(std::string_view text) {
  const auto object = parseExactObject(text, kMaxDepth);
  if (!object) return std::nullopt;
  auto servers = readServers(memberOf(*object, "servers"));
  const auto loadedAt = readDate(memberOf(*object, "loadedAt"));
  if (!servers || !loadedAt) return std::nullopt;
  return BrokeredIceServers{std::move(*servers), *loadedAt};
}

}  // namespace tevanto
