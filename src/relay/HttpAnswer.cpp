#include "relay/HttpAnswer.h"

#include "relay/TurnCredentials.h"

namespace tevanto::relay {
namespace {

HttpAnswer plain(unsigned status, std::string text) {
  text += '\n';
  return {.status = status, .body = std::move(text)};
}

HttpAnswer turnCredentials(const TurnOptions& turn, RelayMetrics& metrics, std::chrono::sys_seconds now) {
  if (turn.secret.empty()) return plain(404, "This relay hands out no TURN credentials.");
  ++metrics.turnCredentials;
  return {.body = turnCredentialsJson(turn, now),
          .contentType = "application/json",
          .headers = {{"Cache-Control", "no-store"}}};
}

HttpAnswer upgradeRequired() {
  auto answer = plain(426, "This is the door for WebSockets.");
  answer.headers = {{"Upgrade", "websocket"}};
  return answer;
}

HttpAnswer methodNotAllowed() {
  auto answer = plain(405, "Only GET and HEAD are answered.");
  answer.headers = {{"Allow", "GET, HEAD"}};
  return answer;
}

}  // namespace

HttpAnswer HttpAnswer::badRequest() { return plain(400, "The request cannot be understood."); }

HttpAnswer HttpAnswer::tooManyConnections() {
  auto answer = plain(503, "Too many connections from this address.");
  answer.headers = {{"Retry-After", "30"}};
  return answer;
}

HttpAnswer answerTo(const RelayRequest& request, const std::string& path, const TurnOptions& turn,
                    RelayMetrics& metrics, std::chrono::sys_seconds now) {
  if (request.method != "GET" && request.method != "HEAD") return methodNotAllowed();
  if (path == "/healthz") return plain(200, "ok");
  if (path == "/metrics") return {.body = metrics.text(), .contentType = RelayMetrics::kContentType};
  if (path == "/turn-credentials") return turnCredentials(turn, metrics, now);
  if (path == "/connect") return upgradeRequired();
  return plain(404, "There is nothing here.");
}

}  // namespace tevanto::relay
