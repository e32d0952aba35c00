#include "net/tcp/AsioTcpListenerFactory.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cassert>
#include <chrono>
#include <utility>
#include <vector>

#include "net/tcp/AsioSocketConnection.h"

namespace tevanto {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Acceptor = asio::basic_socket_acceptor<tcp, asio::io_context::executor_type>;
using Pause =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>,
                               asio::io_context::executor_type>;
using namespace std::chrono_literals;

/// How long no connection is accepted after the system had no descriptor or memory for one.
constexpr auto kScarcityPause = 100ms;
/// How often another free port is tried when IPv6 does not have the one that IPv4 gave.
constexpr int kFreePortAttempts = 16;

tcp::endpoint endpointOf(const tcp& family, ListenScope scope, std::uint16_t port) {
  if (scope == ListenScope::everywhere) return {family, port};
  if (family == tcp::v4()) return {asio::ip::address_v4::loopback(), port};
  return {asio::ip::address_v6::loopback(), port};
}

void bindAndListen(Acceptor& acceptor, const tcp::endpoint& endpoint,
                   const AsioTcpListenerFactory::SocketPreparation& prepare, error_code& error) {
  acceptor.open(endpoint.protocol(), error);
  if (error) return;
  closeOnExec(acceptor.native_handle());
  if (prepare) prepare(acceptor.native_handle());
  acceptor.set_option(asio::socket_base::reuse_address(true), error);
  if (!error && endpoint.protocol() == tcp::v6()) acceptor.set_option(asio::ip::v6_only(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
}

/// The machine has no such protocol, or no address of it.
bool lacksFamily(const error_code& error) {
  return error == asio::error::address_family_not_supported || error == asio::error::no_protocol_option ||
         error == boost::system::errc::address_not_available ||
         error == boost::system::errc::protocol_not_supported;
}

/// The socket itself is of no more use, whatever comes.
bool isBroken(const error_code& error) {
  return error == asio::error::bad_descriptor || error == asio::error::invalid_argument ||
         error == asio::error::not_socket;
}

/// The sockets of one listener, which outlive it for as long as they have work under way.
class Acceptors : public std::enable_shared_from_this<Acceptors> {
 public:
  Acceptors(std::vector<Acceptor> acceptors, const KeepAlive& keepAlive) : keepAlive_(keepAlive) {
    for (auto& acceptor : acceptors) {
      auto executor = acceptor.get_executor();
      doors_.push_back(std::make_unique<Door>(Door{std::move(acceptor), Pause(executor)}));
    }
    error_code ignored;
    port_ = doors_.front()->acceptor.local_endpoint(ignored).port();
  }

  std::function<void(ListenerState)> onState;
  std::function<void(AsioSocket)> onSocket;
  std::uint16_t port() const { return port_; }

  void start(const EventLoopQueue::Strand& strand) {
    assert(!strand_ && "a listener is started once");
    strand_ = std::make_unique<EventLoopQueue::Strand>(strand);
    asio::post(*strand_, [self = shared_from_this()] {
      if (self->ended_) return;
      self->report(ListenerState::ready);
      for (auto& door : self->doors_) self->acceptNext(*door);
    });
  }

  void close(ListenerState state) {
    if (!closeAll() || !strand_) return;
    asio::post(*strand_, [self = shared_from_this(), state] {
      self->report(state);
      self->releaseHandlers();
    });
  }

  /// Ends it without a word. The handlers go later: one of them may be running right now.
  void closeSilently() {
    closeAll();
    silent_ = true;
    if (strand_) asio::post(*strand_, [self = shared_from_this()] { self->releaseHandlers(); });
  }

 private:
  struct Door {
    Acceptor acceptor;
    Pause pause;
  };

  void report(ListenerState state) {
    if (onState && !silent_) onState(state);
  }

  void releaseHandlers() {
    onState = nullptr;
    onSocket = nullptr;
  }

  bool closeAll() {
    if (std::exchange(ended_, true)) return false;
    error_code ignored;
    for (auto& door : doors_) {
      door->acceptor.close(ignored);
      door->pause.cancel();
    }
    return true;
  }

  void acceptNext(Door& door) {
    if (ended_) return;
    door.acceptor.async_accept(door.acceptor.get_executor(),
                               asio::bind_executor(*strand_, [self = shared_from_this(), &door](
                                                                 const error_code& error, AsioSocket socket) {
                                 self->accepted(door, error, std::move(socket));
                               }));
  }

  void accepted(Door& door, const error_code& error, AsioSocket socket) {
    if (ended_) return;
    if (!error) {
      closeOnExec(socket.native_handle());
      setKeepAlive(socket.native_handle(), keepAlive_);
      if (onSocket) onSocket(std::move(socket));
      return acceptNext(door);
    }
    if (isBroken(error)) return close(ListenerState::failed);
    // No descriptors, no memory, a network that is going down: no reason to stop listening, nor to try again
    // without a breath.
    door.pause.expires_after(kScarcityPause);
    door.pause.async_wait(asio::bind_executor(
        *strand_, [self = shared_from_this(), &door](const error_code&) { self->acceptNext(door); }));
  }

  const KeepAlive keepAlive_;
  std::vector<std::unique_ptr<Door>> doors_;
  std::unique_ptr<EventLoopQueue::Strand> strand_;
  std::uint16_t port_ = 0;
  bool ended_ = false;
  bool silent_ = false;  // whoever owned it is gone
};

class AsioTcpListener final : public TcpListener {
 public:
  AsioTcpListener(std::shared_ptr<EventLoop::Core> loop, std::vector<Acceptor> acceptors,
                  const KeepAlive& keepAlive)
      : loop_(std::move(loop)), acceptors_(std::make_shared<Acceptors>(std::move(acceptors), keepAlive)) {}

  ~AsioTcpListener() override {
    if (!queue_ || queue_->isCurrent()) {
      acceptors_->closeSilently();
    } else {
      queue_->async([acceptors = acceptors_] { acceptors->closeSilently(); });
    }
  }

  void setStateHandler(std::function<void(ListenerState)> handler) override {
    acceptors_->onState = std::move(handler);
  }

  void setConnectionHandler(std::function<void(std::unique_ptr<TcpConnection>)> handler) override {
    acceptors_->onSocket = [weakLoop = std::weak_ptr(loop_),
                            handler = std::move(handler)](AsioSocket socket) {
      auto loop = weakLoop.lock();
      if (loop && handler)
        handler(std::make_unique<AsioSocketConnection>(std::move(loop), std::move(socket)));
    };
  }

  void start(std::shared_ptr<SerialQueue> queue) override {
    queue_ = std::move(queue);
    loop_->ensureThreads();
    acceptors_->start(EventLoopQueue::from(*queue_).strand());
  }

  void cancel() override { acceptors_->close(ListenerState::cancelled); }
  std::uint16_t port() const override { return acceptors_->port(); }

 private:
  std::shared_ptr<EventLoop::Core> loop_;
  std::shared_ptr<SerialQueue> queue_;  // once started
  std::shared_ptr<Acceptors> acceptors_;
};

/// One acceptor for each protocol that the machine has, all on one port.
Result<std::vector<Acceptor>> openAcceptors(asio::io_context& context, ListenScope scope,
                                            const AsioTcpListenerFactory::SocketPreparation& prepare,
                                            std::uint16_t port) {
  std::vector<Acceptor> open;
  error_code last;
  for (const auto& family : {tcp::v4(), tcp::v6()}) {
    Acceptor acceptor(context.get_executor());
    error_code error;
    bindAndListen(acceptor, endpointOf(family, scope, port), prepare, error);
    if (error) last = error;
    if (error && lacksFamily(error)) continue;
    if (error) break;
    if (port == 0) port = acceptor.local_endpoint(error).port();
    open.push_back(std::move(acceptor));
    last = {};
  }
  if (open.empty() || (last && !lacksFamily(last)))
    return Failure{"Cannot listen on port " + std::to_string(port) + ": " + last.message() + "."};
  return open;
}

}  // namespace

AsioTcpListenerFactory::AsioTcpListenerFactory(std::shared_ptr<EventLoop> loop, ListenScope scope,
                                               SocketPreparation prepare, KeepAlive keepAlive)
    : loop_(std::move(loop)), scope_(scope), prepare_(std::move(prepare)), keepAlive_(keepAlive) {}

Result<std::unique_ptr<TcpListener>> AsioTcpListenerFactory::listen(std::uint16_t port) {
  const auto& core = loop_->core();
  auto opened = openAcceptors(core->context, scope_, prepare_, port);
  for (int attempt = 1; port == 0 && !opened && attempt < kFreePortAttempts; ++attempt)
    opened = openAcceptors(core->context, scope_, prepare_, port);
  if (!opened) return Failure{opened.error()};
  return std::unique_ptr<TcpListener>(
      std::make_unique<AsioTcpListener>(core, std::move(opened).value(), keepAlive_));
}

}  // namespace tevanto
