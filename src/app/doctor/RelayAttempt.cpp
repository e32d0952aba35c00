#include "app/doctor/RelayAttempt.h"

#include <chrono>
#include <functional>
#include <utility>

#include "core/queue/OneShotResult.h"
#include "core/text/Uuid.h"
#include "net/web/HttpClient.h"
#include "net/web/WebSocketConnection.h"
#include "p2p/ice/TurnCredentialService.h"
#include "p2p/signaling/SignalingClient.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

using Word = Result<void>;

constexpr int kNotFound = 404;
/// The request ends by itself before.
constexpr auto kCredentialTimeout = TurnCredentialService::kTimeout + 1s;

std::string reason(const WebSocketConnection::End& end) {
  return end.closeCode ? "it closed the connection with the code " + std::to_string(*end.closeCode)
                       : end.error;
}

/// A server that only lets us in to close the connection does not answer a ping.
WebSocketConnection::Handlers handlers(const std::shared_ptr<OneShotResult<Word>>& answer,
                                       const std::weak_ptr<WebSocketConnection>& socket) {
  WebSocketConnection::Handlers made;
  made.onOpen = [answer, socket] {
    const auto alive = socket.lock();
    if (!alive) return;
    alive->ping([answer](const std::optional<std::string>& error) {
      answer->set(error ? Word(Failure{"it opens but answers no ping: " + *error}) : Word());
    });
  };
  made.onMessage = [](std::string_view) {};
  made.onEnd = [answer](const WebSocketConnection::End& end) { answer->set(Failure{reason(end)}); };
  return made;
}

Failure complaint(const std::string& relayURL, const std::string& reason) {
  return Failure{"The relay " + relayURL + " cannot be used (" + reason +
                 "); check that tevanto-relay runs there, that its port is open, and that "
                 "tevanto.relay.urls names it as wss://host or ws://host:port."};
}

Failure noCredentials(const std::string& relayURL, const std::string& reason) {
  return Failure{"The relay " + relayURL + " hands out no readable TURN credentials (" + reason +
                 "); check that tevanto-relay answers /turn-credentials there, and the proxy before it."};
}

}  // namespace

Result<std::string> tryRelay(WebSocketFactory& sockets, std::shared_ptr<SerialQueue> queue,
                             const std::string& relayURL) {
  const auto room = relayRoom(relayURL, "doctor-" + randomUuid(), SignalRole::mac);
  if (!room) return complaint(relayURL, "that is no address of a WebSocket");
  const auto answer = std::make_shared<OneShotResult<Word>>();
  const auto socket = sockets.create(room->text());
  queue->async([=] { socket->start(queue, handlers(answer, socket)); });
  const auto word = answer->waitFor(SignalingClient::kOpenTimeout);
  queue->async([socket] { socket->cancel(WebSocketConnection::kGoingAway); });
  if (!word) return complaint(relayURL, "it does not answer");
  if (!*word) return complaint(relayURL, word->error());
  return relayURL + " opened";
}

Result<std::vector<RemoteIceServerConfig>> tryCredentials(HttpClient& http,
                                                          std::shared_ptr<SerialQueue> queue,
                                                          const std::string& relayURL) {
  const auto url = credentialURL(relayURL);
  if (!url) return noCredentials(relayURL, "that is no address of a relay");
  HttpRequest request;
  request.url = *url;
  request.timeout = TurnCredentialService::kTimeout;
  const auto answer = std::make_shared<OneShotResult<Result<HttpResponse>>>();
  http.send(std::move(request), std::move(queue),
            [answer](Result<HttpResponse> response) { answer->set(std::move(response)); });
  const auto word = answer->waitFor(kCredentialTimeout);
  if (!word) return noCredentials(relayURL, "it does not answer");
  if (!*word) return noCredentials(relayURL, word->error());
  const auto& response = word->value();
  if (response.status == kNotFound) return std::vector<RemoteIceServerConfig>();
  auto servers = decodeRemoteIceServersResponse(response.body);
  if (!servers)
    return noCredentials(relayURL, "it answers with the status " + std::to_string(response.status));
  std::erase_if(*servers, std::not_fn(isTURNServer));
  return std::move(*servers);
}

}  // namespace tevanto
