#include "net/web/BeastHttpClient.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <cctype>
#include <optional>
#include <utility>

#include "net/web/AsioOpening.h"

namespace tevanto {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

constexpr std::uint32_t kMaxHeaderBytes = 64 * 1024;

/// What could end its line early would smuggle in a field, or a request, of somebody else's.
bool isFieldValue(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

bool isToken(const std::string& text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";  // RFC 9110, section 5.6.2
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](unsigned char c) {
    return (c < 0x80 && std::isalnum(c)) || kMarks.find(static_cast<char>(c)) != std::string_view::npos;
  });
}

bool isSendable(const HttpRequest& request) {
  return isToken(request.method) &&
         std::all_of(request.headers.begin(), request.headers.end(),
                     [](const auto& header) { return isToken(header.first) && isFieldValue(header.second); });
}

http::request<http::string_body> messageFor(const HttpRequest& request, const Url& url) {
  http::request<http::string_body> message;
  message.version(11);
  message.method_string(request.method);
  message.target(url.target);
  message.set(http::field::host, url.authority());
  message.set(http::field::user_agent, "Tevanto/" TEVANTO_VERSION);
  message.set(http::field::connection, "close");
  for (const auto& [name, value] : request.headers) message.set(name, value);
  message.body() = request.body;
  if (!request.body.empty() || request.method == "POST" || request.method == "PUT") message.prepare_payload();
  return message;
}

HttpResponse responseFrom(http::response<http::string_body> message) {
  HttpResponse response{.status = static_cast<int>(message.result_int()), .headers = {}, .body = {}};
  for (const auto& field : message) {
    response.headers.emplace_back(field.name_string(), field.value());
  }
  response.body = std::move(message.body());
  return response;
}

/// One request and its answer. Lives on a strand of its own, kept by the work under way.
class Exchange : public std::enable_shared_from_this<Exchange> {
 public:
  Exchange(const EventLoopQueue::Strand& strand, std::shared_ptr<AsioTlsContext> tls,
           std::function<void(Result<HttpResponse>)> done)
      : strand_(strand),
        timeout_(strand.get_inner_executor()),
        opening_(std::make_shared<AsioOpening>(strand, std::move(tls))),
        done_(std::move(done)) {}

  void begin(const HttpRequest& request) {
    const auto url = parseUrl(request.url);
    if (!url || url->isWebSocket()) return fail("no such HTTP address: " + request.url);
    if (!isSendable(request)) return fail("no HTTP request can have this method or these fields");
    where_ = url->authority();
    message_ = messageFor(request, *url);
    timeout_.expires_after(request.timeout);
    timeout_.async_wait(asio::bind_executor(strand_, [self = shared_from_this()](const error_code& ended) {
      if (!ended) self->fail(self->where_ + " took too long");
    }));
    opening_->open(*url, [self = shared_from_this()](std::unique_ptr<AsioClientStream> stream,
                                                     const std::string& fault) {
      self->opened(std::move(stream), fault);
    });
  }

 private:
  void opened(std::unique_ptr<AsioClientStream> stream, const std::string& fault) {
    if (!stream) return fail(fault);
    stream_ = std::move(stream);
    http::async_write(*stream_, message_, [self = shared_from_this()](const error_code& error, std::size_t) {
      // A server may answer, and stop reading, before it has the whole request.
      if (error && error != asio::error::broken_pipe && error != asio::error::connection_reset) {
        return self->fault(error);
      }
      self->read();
    });
  }

  void read() {
    if (!done_) return;
    parser_.emplace();
    parser_->body_limit(HttpClient::kMaxBodyBytes);
    parser_->header_limit(kMaxHeaderBytes);
    parser_->skip(message_.method_string() == "HEAD");
    http::async_read(*stream_, buffer_, *parser_,
                     [self = shared_from_this()](const error_code& error, std::size_t) {
                       if (error) return self->fault(error);
                       self->received();
                     });
  }

  void received() {
    const auto status = parser_->get().result_int();
    if (status >= 100 && status < 200 && status != 101) return read();  // the answer proper comes yet
    finish(responseFrom(parser_->release()));
  }

  void fault(const error_code& error) { fail("no answer from " + where_ + ": " + error.message()); }
  void fail(std::string why) { finish(Failure{std::move(why)}); }

  void finish(Result<HttpResponse> result) {
    const auto done = std::exchange(done_, nullptr);
    if (!done) return;
    timeout_.cancel();
    opening_->cancel();
    if (stream_) stream_->close();
    done(std::move(result));
  }

  EventLoopQueue::Strand strand_;
  asio::steady_timer timeout_;
  std::shared_ptr<AsioOpening> opening_;
  std::unique_ptr<AsioClientStream> stream_;
  std::string where_;
  http::request<http::string_body> message_;
  boost::beast::flat_buffer buffer_{HttpClient::kMaxBodyBytes + kMaxHeaderBytes};
  std::optional<http::response_parser<http::string_body>> parser_;
  std::function<void(Result<HttpResponse>)> done_;  // until it was called
};

}  // namespace

BeastHttpClient::BeastHttpClient(std::shared_ptr<EventLoop> loop, const TlsTrust& trust)
    : loop_(std::move(loop)), tls_(std::make_shared<AsioTlsContext>(trust)) {}

void BeastHttpClient::send(HttpRequest request, std::shared_ptr<SerialQueue> queue, Completion completion) {
  const auto& core = loop_->core();
  core->ensureThreads();
  const auto strand = asio::make_strand(core->context);
  auto done = [queue = std::move(queue), completion = std::move(completion)](Result<HttpResponse> result) {
    queue->async([completion, result = std::move(result)]() mutable { completion(std::move(result)); });
  };
  auto exchange = std::make_shared<Exchange>(strand, tls_, std::move(done));
  asio::post(strand, [exchange, request = std::move(request)] { exchange->begin(request); });
}

}  // namespace tevanto
