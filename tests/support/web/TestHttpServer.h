#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/web/TestAuthority.h"

namespace tevanto::test {

struct TestHttpRequest {
  std::string method;
  std::string target;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  /// The TLS server name that the client asked for; empty without.
  std::string serverName;

  /// The first field of that name, whatever its case; empty without.
  std::string header(const std::string& name) const;
};

struct TestHttpReply {
  /// 101 turns the connection into a WebSocket.
  int status = 200;
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};
  /// Sent in place of all that, then the connection is closed.
  std::optional<std::string> raw = {};
  /// Nothing is ever answered.
  bool silence = false;
};

/// The server's end of one WebSocket, in the hands of the test: use it from any thread.
class TestWebSocketPeer {
 public:
  virtual ~TestWebSocketPeer() = default;
  virtual void sendText(std::string text) = 0;
  virtual void sendBinary(std::string bytes) = 0;
  virtual void close(std::uint16_t code) = 0;
  /// Breaks the connection without a close frame.
  virtual void drop() = 0;
  /// Reads nothing more, so that no ping is answered either.
  virtual void stopReading() = 0;

  virtual TestHttpRequest request() const = 0;
  virtual std::vector<std::string> received() const = 0;
  virtual int pingCount() const = 0;
  virtual bool hasEnded() const = 0;
  /// What the client's close frame said.
  virtual std::optional<std::uint16_t> closeCode() const = 0;
};

/// A real HTTP and WebSocket server on loopback, with or without TLS, on a thread of its own.
class TestHttpServer {
 public:
  /// Called on the server's thread, once for each request.
  using Handler = std::function<TestHttpReply(const TestHttpRequest&)>;

  explicit TestHttpServer(Handler handler, std::optional<TestIdentity> identity = {},
                          const std::string& address = "127.0.0.1");
  ~TestHttpServer();
  TestHttpServer(const TestHttpServer&) = delete;
  TestHttpServer& operator=(const TestHttpServer&) = delete;

  std::uint16_t port() const;
  /// "127.0.0.1:port", with brackets around IPv6.
  std::string authority() const;
  /// All connections that came so far.
  int connectionCount() const;
  /// The WebSockets that were opened so far, in order.
  std::vector<std::shared_ptr<TestWebSocketPeer>> webSockets() const;

 private:
  class Server;
  std::unique_ptr<Server> server_;
};

}  // namespace tevanto::test
