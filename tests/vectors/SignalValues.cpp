#include "tests/vectors/SignalValues.h"

#include <cstdint>
#include <optional>
#include <string>

#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

namespace json = boost::json;

std::optional<std::string> textIn(const json::object& object, std::string_view name) {
  return object.contains(name) ? std::optional(textOf(object.at(name))) : std::nullopt;
}

std::optional<std::int32_t> numberIn(const json::object& object, std::string_view name) {
  return object.contains(name) ? std::optional(object.at(name).to_number<std::int32_t>()) : std::nullopt;
}

}  // namespace

SignalMessage signalOf(const json::value& value) {
  const auto& object = value.as_object();
  SignalMessage signal;
  signal.type = textOf(object.at("type"));
  signal.sdp = textIn(object, "sdp");
  signal.candidate = textIn(object, "candidate");
  signal.sdpMid = textIn(object, "sdpMid");
  signal.sdpMLineIndex = numberIn(object, "sdpMLineIndex");
  if (!object.contains("candidates")) return signal;
  auto& candidates = signal.candidates.emplace();
  for (const auto& element : object.at("candidates").as_array()) {
    const auto& candidate = element.as_object();
    candidates.push_back({textOf(candidate.at("candidate")), textIn(candidate, "sdpMid"),
                          numberIn(candidate, "sdpMLineIndex")});
  }
  return signal;
}

std::vector<RemoteIceServerConfig> iceServersOf(const json::value& value) {
  std::vector<RemoteIceServerConfig> servers;
  for (const auto& element : value.as_array()) {
    const auto& server = element.as_object();
    servers.push_back({textsOf(server.at("urls")), textIn(server, "username"), textIn(server, "credential")});
  }
  return servers;
}

}  // namespace tevanto::test
