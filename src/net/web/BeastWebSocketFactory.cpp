#include "net/web/BeastWebSocketFactory.h"

#include <boost/asio/post.hpp>
#include <cassert>
#include <utility>

#include "net/web/BeastWebSocketCore.h"

namespace tevanto {
namespace {

class BeastWebSocketConnection final : public WebSocketConnection {
 public:
  BeastWebSocketConnection(std::shared_ptr<EventLoop::Core> loop, std::shared_ptr<AsioTlsContext> tls,
                           const WebSocketLimits& limits, std::string url)
      : loop_(std::move(loop)), tls_(std::move(tls)), limits_(limits), url_(std::move(url)) {}

  ~BeastWebSocketConnection() override {
    if (!core_) return;
    if (queue_->isCurrent()) {
      core_->closeSilently();
    } else {
      queue_->async([core = std::move(core_)] { core->closeSilently(); });
    }
  }

  void start(std::shared_ptr<SerialQueue> queue, Handlers handlers) override {
    assert(!core_ && "a connection is started once");
    queue_ = std::move(queue);
    loop_->ensureThreads();
    const auto& strand = EventLoopQueue::from(*queue_).strand();
    core_ = std::make_shared<BeastWebSocketCore>(strand, tls_, limits_, std::move(handlers));
    boost::asio::post(strand, [core = core_, url = url_] { core->begin(url); });
  }

  void sendText(std::string text, SentHandler sent) override {
    assert(core_ && queue_->isCurrent() && "on its queue, once started");
    core_->sendText(std::move(text), std::move(sent));
  }
  void ping(PongHandler pong) override {
    assert(core_ && queue_->isCurrent() && "on its queue, once started");
    core_->ping(std::move(pong));
  }
  void cancel(std::uint16_t closeCode) override {
    if (core_) core_->cancel(closeCode);
  }

 private:
  std::shared_ptr<EventLoop::Core> loop_;
  std::shared_ptr<AsioTlsContext> tls_;
  const WebSocketLimits limits_;
  const std::string url_;
  std::shared_ptr<SerialQueue> queue_;  // once started
  std::shared_ptr<BeastWebSocketCore> core_;
};

}  // namespace

BeastWebSocketFactory::BeastWebSocketFactory(std::shared_ptr<EventLoop> loop, const TlsTrust& trust,
                                             WebSocketLimits limits)
    : loop_(std::move(loop)), tls_(std::make_shared<AsioTlsContext>(trust)), limits_(limits) {}

std::shared_ptr<WebSocketConnection> BeastWebSocketFactory::create(const std::string& url) {
  return std::make_shared<BeastWebSocketConnection>(loop_->core(), tls_, limits_, url);
}

}  // namespace tevanto
