#include "relay/RelayServer.h"

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "core/queue/EventLoopCore.h"
#include "core/queue/QueueBound.h"
#include "net/IceUrl.h"
#include "relay/AsioRelayConnection.h"
#include "relay/AsioRelayListener.h"

namespace tevanto::relay {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using Certificates = std::shared_ptr<asio::ssl::context>;

Result<Certificates> loadCertificates(const RelayOptions& options) {
  if (!options.usesTls()) return Certificates();
  auto context = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
  // An idle connection keeps no buffers for records.
  ::SSL_CTX_set_mode(context->native_handle(), SSL_MODE_RELEASE_BUFFERS);
  ::SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
  // Sessions would be kept for clients that come back once in a while, and tickets made for each.
  ::SSL_CTX_set_session_cache_mode(context->native_handle(), SSL_SESS_CACHE_OFF);
  ::SSL_CTX_set_options(context->native_handle(), SSL_OP_NO_TICKET);
  ::SSL_CTX_set_num_tickets(context->native_handle(), 0);
  error_code error;
  context->use_certificate_chain_file(options.certificateFile, error);
  if (error)
    return Failure{"Cannot use the certificate " + options.certificateFile + ": " + error.message() + "."};
  context->use_private_key_file(options.privateKeyFile, asio::ssl::context::pem, error);
  if (error)
    return Failure{"Cannot use the private key " + options.privateKeyFile + ": " + error.message() + "."};
  return context;
}

/// `kind`: "turn" or "stun", with or without TLS.
bool isUrlOf(std::string_view kind, const std::string& url) {
  const auto parsed = parseIceUrl(url);
  return parsed && (parsed->scheme == kind || parsed->scheme == std::string(kind) + "s");
}

Result<void> checkOptions(const RelayOptions& options) {
  if (options.certificateFile.empty() != options.privateKeyFile.empty())
    return Failure{"TLS needs both a certificate and its private key: --certificate and --private-key."};
  if (!options.turn.secret.empty() && options.turn.urls.empty())
    return Failure{"A TURN secret is of no use without the URL of the TURN server: --turn-url."};
  for (const auto& url : options.turn.urls) {
    if (!isUrlOf("turn", url))
      return Failure{"\"" + url +
                     "\" is no URL of a TURN server: --turn-url takes such as turn:HOST:3478?transport=udp."};
  }
  for (const auto& url : options.turn.stunUrls) {
    if (!isUrlOf("stun", url))
      return Failure{"\"" + url + "\" is no URL of a STUN server: --stun-url takes such as stun:HOST:3478."};
  }
  return {};
}

std::chrono::sys_seconds wallClock() {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

}  // namespace

class RelayServer::Core : public std::enable_shared_from_this<RelayServer::Core> {
 public:
  Core(asio::io_context& context, std::shared_ptr<RelayContext> shared, Certificates certificates,
       std::shared_ptr<AsioRelayListener> listener, Logger log)
      : shared_(std::move(shared)),
        certificates_(std::move(certificates)),
        listener_(std::move(listener)),
        log_(std::move(log)),
        tick_(context),
        deadline_(context) {}

  void start() {
    shared_->onConnectionEnded = weakCall(weak_from_this(), &Core::connectionEnded);
    listener_->start(weakCall(weak_from_this(), &Core::accepted));
    turnWheel();
  }

  std::vector<AsioRelayListener::Endpoint> endpoints() const { return listener_->endpoints(); }

  Result<void> reloadCertificates() {
    auto loaded = loadCertificates(shared_->options);
    if (!loaded) return Failure{loaded.error()};
    certificates_ = std::move(loaded).value();
    return {};
  }

  void stop(std::function<void()> done) {
    listener_->close();
    done_ = std::move(done);
    // Each has its own deadline, one tick late at most.
    deadline_.expires_after(shared_->options.limits.closeTimeout + 2 * RelayContext::kTick);
    deadline_.async_wait([self = shared_from_this()](const error_code& error) {
      if (!error) self->finish();
    });
    const std::vector<RelayConnection*> all(shared_->connections.begin(), shared_->connections.end());
    for (auto* connection : all) connection->goAway();
    connectionEnded();
  }

  void stopNow() {
    listener_->close();
    tick_.cancel();
    deadline_.cancel();
    shared_->onConnectionEnded = nullptr;
    const std::vector<RelayConnection*> all(shared_->connections.begin(), shared_->connections.end());
    for (auto* connection : all) connection->closeNow();
  }

 private:
  void accepted(AsioSocket socket, const AsioRelayListener::Endpoint& peer) {
    auto& metrics = shared_->metrics;
    ++metrics.acceptedConnections;
    const auto most = shared_->options.limits.connections;
    if (most != 0 && shared_->connections.size() >= most) {
      ++metrics.refusedConnections;
      return;  // the socket closes
    }
    error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    const auto address = IpAddress::parse(peer.address().to_string()).value_or(IpAddress{});
    const auto made = certificates_
                          ? makeTlsRelayConnection(shared_, std::move(socket), address, *certificates_)
                          : makePlainRelayConnection(shared_, std::move(socket), address);
    if (made->admit()) made->begin();
  }

  void turnWheel() {
    tick_.expires_after(RelayContext::kTick);
    tick_.async_wait([weak = weak_from_this()](const error_code& error) {
      const auto self = weak.lock();
      if (error || !self) return;
      self->shared_->wheel.advance(self->shared_->now());
      self->turnWheel();
    });
  }

  void connectionEnded() {
    if (!done_ || !shared_->connections.empty()) return;
    finish();
  }

  void finish() {
    deadline_.cancel();
    if (const auto done = std::exchange(done_, nullptr)) done();
  }

  const std::shared_ptr<RelayContext> shared_;
  Certificates certificates_;
  const std::shared_ptr<AsioRelayListener> listener_;
  const Logger log_;
  asio::steady_timer tick_;
  asio::steady_timer deadline_;
  std::function<void()> done_;
};

Result<std::unique_ptr<RelayServer>> RelayServer::create(EventLoop& loop, RelayOptions options, Logger log) {
  if (const auto sound = checkOptions(options); !sound) return Failure{sound.error()};
  auto proxies = TrustedProxies::parse(options.trustedProxies);
  if (!proxies) return Failure{proxies.error()};
  auto certificates = loadCertificates(options);
  if (!certificates) return Failure{certificates.error()};
  auto& context = loop.core()->context;
  auto listener = AsioRelayListener::open(context, options.addresses, options.port);
  if (!listener) return Failure{listener.error()};
  const auto shared = std::make_shared<RelayContext>(std::move(options), std::move(proxies).value(),
                                                     std::chrono::steady_clock::now, wallClock);
  auto core = std::make_shared<Core>(context, shared, std::move(certificates).value(),
                                     std::move(listener).value(), std::move(log));
  core->start();
  return std::unique_ptr<RelayServer>(new RelayServer(std::move(core)));
}

RelayServer::~RelayServer() { core_->stopNow(); }

std::vector<std::string> RelayServer::endpoints() const {
  std::vector<std::string> texts;
  for (const auto& endpoint : core_->endpoints()) {
    std::ostringstream text;
    text << endpoint;
    texts.push_back(text.str());
  }
  return texts;
}

std::uint16_t RelayServer::port() const { return core_->endpoints().front().port(); }
Result<void> RelayServer::reloadCertificates() { return core_->reloadCertificates(); }
void RelayServer::stop(std::function<void()> done) { core_->stop(std::move(done)); }

}  // namespace tevanto::relay
