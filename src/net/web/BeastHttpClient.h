#pragma once

#include <memory>

#include "core/queue/EventLoop.h"
#include "net/web/HttpClient.h"

namespace tevanto {

class AsioTlsContext;

/// BeastHttpClient sends HTTP/1.1 requests over sockets of the event loop, each on a connection of its own. A
/// request that was sent is answered even when the client is gone by then.
/// Thread-safe.
class BeastHttpClient final : public HttpClient {
 public:
  explicit BeastHttpClient(std::shared_ptr<EventLoop> loop, const TlsTrust& trust = {});
  void send(HttpRequest request, std::shared_ptr<SerialQueue> queue, Completion completion) override;

 private:
  std::shared_ptr<EventLoop> loop_;
  std::shared_ptr<AsioTlsContext> tls_;
};

}  // namespace tevanto
