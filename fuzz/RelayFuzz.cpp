#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "core/queue/EventLoop.h"
#include "core/queue/EventLoopCore.h"
#include "relay/RelayServer.h"
#include "tests/support/peers/RawSocket.h"

namespace {

using tevanto::test::RawSocket;

/// A relay on loopback that this thread runs a step at a time.
class Relay {
 public:
  Relay() {
    tevanto::relay::RelayOptions options;
    options.addresses = {"127.0.0.1"};
    options.port = 0;
    options.trustedProxies = {"127.0.0.1"};
    options.limits.connectionsPerAddress = 0;
    options.turn.secret = "secret";
    options.turn.urls = {"turn:turn.example.org"};
    auto made = tevanto::relay::RelayServer::create(*loop_, std::move(options), {});
    if (!made) std::abort();
    server_ = std::move(made).value();
  }

  std::uint16_t port() const { return server_->port(); }
  void run() {
    auto& context = loop_->core()->context;
    while (context.poll() > 0) {
    }
  }

 private:
  std::shared_ptr<tevanto::EventLoop> loop_ = tevanto::EventLoop::forCallingThread();
  std::unique_ptr<tevanto::relay::RelayServer> server_;
};

constexpr std::string_view kUpgrade =
    " HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

void send(Relay& relay, const RawSocket& socket, std::string_view bytes) {
  socket.send(bytes);
  relay.run();
}

RawSocket join(Relay& relay, std::string_view role) {
  auto socket = RawSocket::connectTo(relay.port());
  send(relay, socket, std::string("GET /connect?room=a&role=").append(role).append(kUpgrade));
  return socket;
}

/// The relay must be as well afterwards as it was before.
void expectHealthy(Relay& relay) {
  auto socket = RawSocket::connectTo(relay.port());
  send(relay, socket, "GET /healthz HTTP/1.0\r\n\r\n");
  if (!socket.receiveSome().starts_with("HTTP/1.1 200 OK\r\n")) std::abort();
  socket.reset();
  relay.run();
}

}  // namespace

/// What a client may send, in two pieces: the first byte says whether it is a whole request, the target of an
/// upgrade, or frames of a member that has a peer; the second where it is cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Relay relay;
  if (size < 2) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 2, size - 2);
  const auto cut = std::min<std::size_t>(data[1], input.size());
  auto peer = data[0] % 3 == 2 ? join(relay, "phone") : RawSocket();
  auto client = data[0] % 3 == 2 ? join(relay, "mac") : RawSocket::connectTo(relay.port());
  if (data[0] % 3 == 1) send(relay, client, "GET /");
  send(relay, client, input.substr(0, cut));
  send(relay, client, input.substr(cut));
  if (data[0] % 3 == 1) send(relay, client, kUpgrade);
  client.reset();
  if (peer.isOpen()) peer.reset();
  relay.run();
  expectHealthy(relay);
  return 0;
}
