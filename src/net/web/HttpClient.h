#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/Result.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// TlsTrust names the certificates that a client accepts: those that the system's authorities have signed,
/// or only those of `authoritiesPem`.
struct TlsTrust {
  std::optional<std::string> authoritiesPem = {};  // certificates in PEM (RFC 7468), one after the other
};

/// HttpRequest is one HTTP/1.1 request (RFC 9112). `url` is absolute, "http://" or "https://".
struct HttpRequest {
  std::string method = "GET";
  std::string url = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};
  /// For the whole exchange: name resolution, connection, handshake, answer.
  std::chrono::milliseconds timeout{60'000};
};

/// HttpResponse is one HTTP/1.1 response (RFC 9112) of any status, with its whole body.
struct HttpResponse {
  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

/// HttpClient sends requests without blocking. With "https://" the server's certificate and host name are
/// verified.
class HttpClient {
 public:
  /// Completion is called exactly once, on the queue given to `send`.
  using Completion = std::function<void(Result<HttpResponse>)>;

  virtual ~HttpClient() = default;
  /// Any status is an answer; a failure is a URL that cannot be read, no connection, no trust, a broken or
  /// too large answer, or the timeout.
  virtual void send(HttpRequest request, std::shared_ptr<SerialQueue> queue, Completion completion) = 0;

  static constexpr std::size_t kMaxBodyBytes = 8 * 1024 * 1024;
};

}  // namespace tevanto
