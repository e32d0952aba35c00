#pragma once

// Private to BeastWebSocketFactory: shows types of Boost.Asio and Boost.Beast.

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/queue/EventLoopCore.h"
#include "net/web/AsioOpening.h"
#include "net/web/BeastWebSocketFactory.h"

namespace tevanto {

/// BeastWebSocketCore is the part of a WebSocket that lives for as long as the socket has work under way.
/// Lives on its strand. It owns no queue and no loop: the loop owns the work that owns it.
///
///   opening --(answer)--> open --(cancel)--> closing --(close frames, 2 s)--> ended
///      any --(fault, close frame, cancel while opening)--> ended
class BeastWebSocketCore : public std::enable_shared_from_this<BeastWebSocketCore> {
 public:
  using Handlers = WebSocketConnection::Handlers;
  using SentHandler = WebSocketConnection::SentHandler;
  using PongHandler = WebSocketConnection::PongHandler;

  BeastWebSocketCore(const EventLoopQueue::Strand& strand, std::shared_ptr<AsioTlsContext> tls,
                     const WebSocketLimits& limits, Handlers handlers);

  void begin(const std::string& text);
  void sendText(std::string text, SentHandler sent);
  void ping(PongHandler pong);
  void cancel(std::uint16_t closeCode);
  /// Ends it at once, unless it is closing already.
  void closeSilently();

 private:
  using ErrorCode = boost::system::error_code;
  using End = WebSocketConnection::End;
  using Strand = EventLoopQueue::Strand;
  using Limit =
      boost::asio::basic_waitable_timer<std::chrono::steady_clock,
                                        boost::asio::wait_traits<std::chrono::steady_clock>, Strand>;

  enum class State { opening, open, closing, ended };
  struct Outgoing {
    std::string text;
    SentHandler sent;
  };
  struct Ping {
    std::uint64_t number;
    PongHandler pong;
  };

  void arm(Limit::duration duration, std::function<void()> expired);
  void disarm();
  void connected(std::unique_ptr<AsioClientStream> stream, const std::string& fault);
  void opened(const ErrorCode& error);
  void read();
  void received(const ErrorCode& error);
  void handleReadError(const ErrorCode& error);
  void write();
  void written(const ErrorCode& error, std::size_t size);
  /// The open read tells the end: it alone knows whether the server closed first.
  void writeFailed(const ErrorCode& error);
  void failUnsent(const std::string& why);
  void writePing();
  /// A pong answers all pings up to the one that it repeats (RFC 6455, section 5.5.3).
  void ponged(std::string_view payload);
  void pongOverdue();
  void close();
  /// Tells `handler` in a turn of its own.
  void report(SentHandler handler, std::optional<std::string> error);
  /// Frees the socket now and tells why in the next turn.
  void closeWith(End why);
  void finish();
  /// The handlers go later: one of them may be running right now.
  void silence();

  Strand strand_;
  const WebSocketLimits limits_;
  std::shared_ptr<AsioOpening> opening_;
  Limit limit_;  // of opening, of the oldest pong's wait, of closing: one at a time
  std::uint64_t limitTurn_ = 0;
  Handlers handlers_;
  Url url_;
  std::unique_ptr<AsioClientStream> stream_;
  std::optional<boost::beast::websocket::stream<AsioClientStream&, false>> socket_;  // without compression
  boost::beast::websocket::response_type answer_;                                    // to the opening
  boost::beast::flat_buffer buffer_;
  std::deque<Outgoing> outbox_;
  std::size_t unsentBytes_ = 0;
  std::deque<Ping> pings_;  // that have no pong yet
  std::uint64_t lastPing_ = 0;
  bool pinging_ = false;  // a ping is being written
  bool awaitsPong_ = false;
  bool broken_ = false;  // nothing more can be sent, because of `fault_`
  std::string fault_;
  State state_ = State::opening;
  std::uint16_t closeCode_ = 0;
  bool silent_ = false;  // nobody is told anything any more
};

}  // namespace tevanto
