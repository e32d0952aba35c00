#pragma once

// Private to the socket classes of this folder: shows types of Boost.Asio.

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/EventLoopCore.h"
#include "net/tcp/AsioSocket.h"
#include "net/tcp/SendBuffer.h"
#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// TcpStream is the part of an AsioSocketConnection that lives for as long as the socket has work under way.
/// Lives on the strand of the queue given to `start`.
/// It owns no queue and no loop: the loop owns the work that owns it.
class TcpStream : public std::enable_shared_from_this<TcpStream> {
 public:
  TcpStream(AsioSocket socket, std::string host, std::uint16_t port);

  TcpConnection::StateHandler onState;
  TcpConnection::ReceiveHandler onReceive;

  void start(const EventLoopQueue& queue);
  void receive(std::size_t maxBytes);
  void receive(ReceiveRoom room);
  void send(std::span<const std::byte> bytes);
  void send(std::span<const std::byte> head, SharedBytes body, Task processed);
  std::size_t pendingBytes() const { return unsent_.size(); }
  const std::string& peerName() const { return peerName_; }
  /// Frees the socket now and reports `state` in the next turn. Only the first end counts.
  void close(ConnectionState state);
  /// Ends it without a report. The handlers go later: one of them may be running right now.
  void closeSilently();

 private:
  using Error = boost::system::error_code;
  using Resolver =
      boost::asio::ip::basic_resolver<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

  template <class Handler>
  auto onStrand(Handler handler) {
    return boost::asio::bind_executor(*strand_, std::move(handler));
  }

  bool closeSocket();
  void report(ConnectionState state);
  void reportLast(ConnectionState state);
  void releaseHandlers();
  void prepare();
  void resolved(const Error& error, const Resolver::results_type& found);
  void becomeReady();
  void beginRead();
  void finishRead(Error error, std::size_t count);
  /// True to read on at once.
  bool handOn(const Error& error, std::size_t count);
  void readLater();
  void flushAtEndOfTurn();
  /// `flushing_` stays set while the kernel takes no more, so that nothing asks it in between.
  void flush();
  void appended();
  Error write();
  void postProcessed();
  void notifyProcessed();

  AsioSocket socket_;
  Resolver resolver_;
  const std::string host_;
  const std::uint16_t port_;
  std::string peerName_ = "unknown peer";
  std::unique_ptr<EventLoopQueue::Strand> strand_;
  std::vector<std::byte> received_;  // as large as the largest receive so far
  ReceiveRoom room_;                 // of the open receive, empty when none is open
  bool delivering_ = false;          // bytes are being handed over
  SendBuffer unsent_;
  bool ready_ = false;
  bool flushing_ = false;  // a flush is posted or waits for the kernel
  bool ended_ = false;
  bool silent_ = false;  // the connection object is gone
};

}  // namespace tevanto
