#include "tests/support/web/TestHttpServer.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <mutex>
#include <thread>

#include "tests/support/web/TestServerStream.h"

namespace tevanto::test {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
namespace ssl = asio::ssl;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

using Message = http::request<http::string_body>;
/// Can let go of the work that never came to run, which owns what owns the context.
class Context : public asio::io_context {
 public:
  using asio::io_context::io_context;
  using execution_context::shutdown;
};

constexpr std::uint64_t kMaxBodyBytes = 64 * 1024 * 1024;

TestHttpRequest requestFrom(const Message& message, std::string serverName) {
  TestHttpRequest request{.method = std::string(message.method_string()),
                          .target = std::string(message.target()),
                          .headers = {},
                          .body = message.body(),
                          .serverName = std::move(serverName)};
  for (const auto& field : message) request.headers.emplace_back(field.name_string(), field.value());
  return request;
}

class WebSocketPeer final : public TestWebSocketPeer, public std::enable_shared_from_this<WebSocketPeer> {
 public:
  WebSocketPeer(std::shared_ptr<Context> context, TestServerStream stream, TestHttpRequest request)
      : context_(std::move(context)), socket_(std::move(stream)), request_(std::move(request)) {}

  /// `opened` is called before the answer goes out: who sees the client open finds this.
  void accept(const Message& message, const std::function<void()>& opened) {
    socket_.read_message_max(kMaxBodyBytes);
    socket_.control_callback([this](websocket::frame_type kind, boost::beast::string_view) {
      const std::lock_guard lock(mutex_);
      if (kind == websocket::frame_type::ping) ++pings_;
    });
    opened();
    socket_.async_accept(message, [self = shared_from_this()](const error_code& error) {
      if (error) return self->end();
      self->open_ = true;
      if (!self->closing_) self->read();  // else the closing reads
      self->write();
    });
  }

  void sendText(std::string text) override { queue({std::move(text), true}); }
  void sendBinary(std::string bytes) override { queue({std::move(bytes), false}); }
  void close(std::uint16_t code) override {
    post([this, code] {
      closing_ = code;
      if (open_ && outbox_.empty()) closeNow();
    });
  }
  void drop() override {
    post([this] {
      error_code ignored;
      auto& socket = socket_.next_layer().socket();
      socket.set_option(asio::socket_base::linger(true, 0), ignored);
      socket.close(ignored);
      end();
    });
  }
  void stopReading() override {
    post([this] { reads_ = false; });
  }

  TestHttpRequest request() const override { return request_; }
  std::vector<std::string> received() const override {
    const std::lock_guard lock(mutex_);
    return received_;
  }
  int pingCount() const override {
    const std::lock_guard lock(mutex_);
    return pings_;
  }
  bool hasEnded() const override {
    const std::lock_guard lock(mutex_);
    return ended_;
  }
  std::optional<std::uint16_t> closeCode() const override {
    const std::lock_guard lock(mutex_);
    return closeCode_;
  }

 private:
  struct Outgoing {
    std::string bytes;
    bool text;
  };

  template <class Work>
  void post(Work work) {
    asio::post(socket_.get_executor(), [self = shared_from_this(), work] { work(); });
  }

  void queue(Outgoing message) {
    post([this, message = std::move(message)] {
      outbox_.push_back(message);
      if (open_ && outbox_.size() == 1) write();
    });
  }

  void closeNow() {
    socket_.async_close(websocket::close_reason(*closing_),
                        [self = shared_from_this()](const error_code&) { self->end(); });
  }

  /// What waits to be sent, then what was asked for behind it.
  void write() {
    if (outbox_.empty()) {
      if (closing_) closeNow();
      return;
    }
    socket_.text(outbox_.front().text);
    socket_.async_write(asio::buffer(outbox_.front().bytes),
                        [self = shared_from_this()](const error_code& error, std::size_t) {
                          if (error) return;
                          self->outbox_.pop_front();
                          self->write();
                        });
  }

  void read() {
    if (!reads_) return;
    socket_.async_read(buffer_, [self = shared_from_this()](const error_code& error, std::size_t) {
      if (error) return self->end();
      self->keep(boost::beast::buffers_to_string(self->buffer_.data()));
      self->buffer_.clear();
      self->read();
    });
  }

  void keep(std::string message) {
    const std::lock_guard lock(mutex_);
    received_.push_back(std::move(message));
  }

  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    if (socket_.reason()) closeCode_ = socket_.reason().code;
  }

  const std::shared_ptr<Context> context_;  // a socket must not outlive its own
  websocket::stream<TestServerStream, false> socket_;
  const TestHttpRequest request_;
  boost::beast::flat_buffer buffer_;
  std::deque<Outgoing> outbox_;
  bool open_ = false;
  bool reads_ = true;
  std::optional<std::uint16_t> closing_;
  mutable std::mutex mutex_;  // guards what follows
  std::vector<std::string> received_;
  int pings_ = 0;
  bool ended_ = false;
  std::optional<std::uint16_t> closeCode_;
};

}  // namespace

std::string TestHttpRequest::header(const std::string& name) const {
  for (const auto& [key, value] : headers) {
    if (boost::beast::iequals(key, name)) return value;
  }
  return {};
}

class TestHttpServer::Server {
 public:
  Server(Handler handler, std::optional<TestIdentity> identity, const std::string& address)
      : handler_(std::move(handler)),
        isSecure_(identity.has_value()),
        acceptor_(*context_, {asio::ip::make_address(address), 0}) {
    if (identity) {
      tls_.use_certificate_chain(asio::buffer(identity->certificatePem));
      tls_.use_private_key(asio::buffer(identity->keyPem), ssl::context::pem);
    }
    accept();
    thread_ = std::thread([this] { context_->run(); });
  }

  ~Server() {
    context_->stop();
    thread_.join();
    context_->shutdown();
  }

  tcp::endpoint endpoint() const { return endpoint_; }

  int connectionCount() const {
    const std::lock_guard lock(mutex_);
    return connections_;
  }

  std::vector<std::shared_ptr<TestWebSocketPeer>> webSockets() const {
    const std::lock_guard lock(mutex_);
    return webSockets_;
  }

 private:
  struct Visit {
    Visit(Server& ofServer, TestServerStream itsStream) : server(ofServer), stream(std::move(itsStream)) {}

    Server& server;
    TestServerStream stream;
    std::string serverName;
    boost::beast::flat_buffer buffer;
    std::optional<http::request_parser<http::string_body>> parser;
    http::response<http::string_body> response;
    std::string raw;
  };

  void accept() {
    acceptor_.async_accept([this](const error_code& error, tcp::socket socket) {
      if (error) return;
      count();
      greet(std::move(socket));
      accept();
    });
  }

  void count() {
    const std::lock_guard lock(mutex_);
    ++connections_;
  }

  void greet(tcp::socket socket) {
    auto visit = std::make_shared<Visit>(*this, TestServerStream(std::move(socket)));
    if (!isSecure_) return read(visit);
    visit->stream.secure(tls_, [visit](const error_code& error, std::string name) {
      if (error) return;
      visit->serverName = std::move(name);
      visit->server.read(visit);
    });
  }

  void read(std::shared_ptr<Visit> visit) {
    visit->parser.emplace();
    visit->parser->body_limit(kMaxBodyBytes);
    http::async_read(visit->stream, visit->buffer, *visit->parser,
                     [visit](const error_code& error, std::size_t) {
                       if (!error) visit->server.answer(visit);
                     });
  }

  void answer(std::shared_ptr<Visit> visit) {
    const auto& message = visit->parser->get();
    const auto request = requestFrom(message, visit->serverName);
    const auto reply = handler_(request);
    if (reply.silence) return waitForEnd(visit);
    if (reply.raw) return sendRaw(visit, *reply.raw);
    if (reply.status == 101) return upgrade(*visit, message, request);
    visit->response = {};
    visit->response.version(11);
    visit->response.result(static_cast<unsigned>(reply.status));
    for (const auto& [name, value] : reply.headers) visit->response.insert(name, value);
    visit->response.body() = reply.body;
    visit->response.keep_alive(message.keep_alive());
    visit->response.prepare_payload();
    http::async_write(visit->stream, visit->response, [visit](const error_code& error, std::size_t) {
      if (!error && visit->response.keep_alive()) visit->server.read(visit);
    });
  }

  void sendRaw(std::shared_ptr<Visit> visit, const std::string& raw) {
    visit->raw = raw;
    asio::async_write(visit->stream, asio::buffer(visit->raw), [visit](const error_code&, std::size_t) {
      error_code ignored;
      visit->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    });
  }

  void waitForEnd(std::shared_ptr<Visit> visit) {
    visit->stream.async_read_some(visit->buffer.prepare(1), [visit](const error_code&, std::size_t) {});
  }

  void upgrade(Visit& visit, const Message& message, const TestHttpRequest& request) {
    auto peer = std::make_shared<WebSocketPeer>(context_, std::move(visit.stream), request);
    peer->accept(message, [&] {
      const std::lock_guard lock(mutex_);
      webSockets_.push_back(peer);
    });
  }

  const Handler handler_;
  const bool isSecure_;
  mutable std::mutex mutex_;  // guards the next two
  int connections_ = 0;
  std::vector<std::shared_ptr<TestWebSocketPeer>> webSockets_;
  const std::shared_ptr<Context> context_ = std::make_shared<Context>(1);
  ssl::context tls_{ssl::context::tls_server};
  tcp::acceptor acceptor_;
  const tcp::endpoint endpoint_ = acceptor_.local_endpoint();
  std::thread thread_;
};

TestHttpServer::TestHttpServer(Handler handler, std::optional<TestIdentity> identity,
                               const std::string& address)
    : server_(std::make_unique<Server>(std::move(handler), std::move(identity), address)) {}
TestHttpServer::~TestHttpServer() = default;

std::uint16_t TestHttpServer::port() const { return server_->endpoint().port(); }

std::string TestHttpServer::authority() const {
  const auto address = server_->endpoint().address();
  const auto host = address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
  return host + ":" + std::to_string(port());
}

int TestHttpServer::connectionCount() const { return server_->connectionCount(); }

std::vector<std::shared_ptr<TestWebSocketPeer>> TestHttpServer::webSockets() const {
  return server_->webSockets();
}

}  // namespace tevanto::test
