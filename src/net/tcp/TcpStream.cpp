#include "net/tcp/TcpStream.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/post.hpp>
#include <cassert>
#include <utility>

namespace tevanto {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

/// How many pieces are given to the kernel in one call.
constexpr std::size_t kPiecesPerWrite = 16;
/// So many make half a megabyte of a large frame, and take less time than a frame of a display does; then
/// others have their turn.
constexpr int kReadsInARow = 8;

std::string endpointName(const tcp::endpoint& endpoint) {
  const std::string address = endpoint.address().to_string();
  const bool bracketed = endpoint.address().is_v6();
  return (bracketed ? "[" + address + "]" : address) + ":" + std::to_string(endpoint.port());
}

/// Keeps most of what a slow peer has not taken where it is counted, rather than in the kernel.
void boundUnsentBytes(int descriptor) {
  constexpr int kBytes = 128 * 1024;
  ::setsockopt(descriptor, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &kBytes, sizeof kBytes);
}

}  // namespace

TcpStream::TcpStream(AsioSocket socket, std::string host, std::uint16_t port)
    : socket_(std::move(socket)), resolver_(socket_.get_executor()), host_(std::move(host)), port_(port) {
  error_code error;
  if (socket_.is_open()) {
    const auto peer = socket_.remote_endpoint(error);  // fails when the peer is already gone
    if (!error) peerName_ = endpointName(peer);
  } else {
    peerName_ = host_ + ":" + std::to_string(port_);
  }
}

void TcpStream::start(const EventLoopQueue& queue) {
  assert(!strand_ && "a connection is started once");
  strand_ = std::make_unique<EventLoopQueue::Strand>(queue.strand());
  asio::post(*strand_, [self = shared_from_this()] { self->prepare(); });
}

void TcpStream::receive(std::size_t maxBytes) {
  if (ended_) return;
  const auto count = std::clamp<std::size_t>(maxBytes, 1, TcpConnection::kMaxReceiveBytes);
  if (received_.size() < count) received_.resize(count);
  receive({.bytes = std::span(received_).first(count), .owner = nullptr});
}

void TcpStream::receive(ReceiveRoom room) {
  if (ended_) return;
  assert(room_.bytes.empty() && !room.bytes.empty() && "one receive at a time");
  room.bytes = room.bytes.first(std::min(room.bytes.size(), TcpConnection::kMaxReceiveBytes));
  room_ = std::move(room);
  if (ready_ && !delivering_) beginRead();
}

void TcpStream::send(std::span<const std::byte> bytes) {
  if (ended_) return;
  unsent_.append(bytes);
  appended();
}

void TcpStream::send(std::span<const std::byte> head, SharedBytes body, Task processed) {
  unsent_.append(head);
  unsent_.append(std::move(body), std::move(processed));
  if (!ended_) return appended();
  unsent_.clear();
  postProcessed();
}

void TcpStream::close(ConnectionState state) {
  if (!closeSocket() || !strand_) return;
  asio::post(*strand_, [self = shared_from_this(), state] { self->reportLast(state); });
}

void TcpStream::closeSilently() {
  closeSocket();
  silent_ = true;
  if (strand_) asio::post(*strand_, [self = shared_from_this()] { self->releaseHandlers(); });
}

bool TcpStream::closeSocket() {
  if (std::exchange(ended_, true)) return false;
  error_code ignored;
  resolver_.cancel();
  socket_.close(ignored);
  unsent_.clear();
  postProcessed();
  return true;
}

void TcpStream::report(ConnectionState state) {
  if (onState && !silent_) onState(state);
}

void TcpStream::reportLast(ConnectionState state) {
  report(state);
  releaseHandlers();
}

void TcpStream::releaseHandlers() {
  onState = nullptr;
  onReceive = nullptr;
}

void TcpStream::prepare() {
  if (ended_) return;
  report(ConnectionState::preparing);
  if (ended_) return;
  if (socket_.is_open()) return becomeReady();
  resolver_.async_resolve(host_, std::to_string(port_),
                          onStrand([self = shared_from_this()](const error_code& error,
                                                               const tcp::resolver::results_type& found) {
                            self->resolved(error, found);
                          }));
}

void TcpStream::resolved(const error_code& error, const tcp::resolver::results_type& found) {
  if (ended_) return;
  if (error) return close(ConnectionState::failed);
  asio::async_connect(
      socket_, found,
      onStrand([self = shared_from_this()](const error_code& fault, const tcp::endpoint& peer) {
        if (self->ended_) return;
        if (fault) return self->close(ConnectionState::failed);
        self->peerName_ = endpointName(peer);
        self->becomeReady();
      }));
}

void TcpStream::becomeReady() {
  error_code ignored;
  closeOnExec(socket_.native_handle());
  socket_.non_blocking(true, ignored);
  socket_.set_option(tcp::no_delay(true), ignored);
  boundUnsentBytes(socket_.native_handle());
  ready_ = true;
  report(ConnectionState::ready);
  if (ended_) return;
  if (!room_.bytes.empty()) beginRead();
  if (pendingBytes() > 0) flushAtEndOfTurn();
}

void TcpStream::beginRead() {
  if (ended_) return;
  socket_.async_read_some(asio::buffer(room_.bytes.data(), room_.bytes.size()),
                          onStrand([self = shared_from_this()](const error_code& error, std::size_t count) {
                            self->finishRead(error, count);
                          }));
}

// Where a read was filled to its end, more is likely to be there. It is fetched at once rather than by way
// of the loop, which would take a quarter as long as the copying; but not for ever, as others wait their
// turn.
void TcpStream::finishRead(error_code error, std::size_t count) {
  for (int reads = 1; handOn(error, count); ++reads) {
    if (reads == kReadsInARow) return readLater();
    count = socket_.read_some(asio::buffer(room_.bytes.data(), room_.bytes.size()), error);
    if (error == asio::error::would_block) return beginRead();
  }
}

bool TcpStream::handOn(const error_code& error, std::size_t count) {
  const auto room = std::exchange(room_, {});
  if (ended_) return false;
  const bool endOfStream = error == asio::error::eof;
  Received received{.bytes = room.bytes.first(count), .endOfStream = endOfStream, .error = {}};
  if (error && !endOfStream) received.error = error.message();
  delivering_ = true;
  if (onReceive) onReceive(received);
  delivering_ = false;
  if (ended_) return false;
  if (error) {
    if (endOfStream) write();
    close(ConnectionState::failed);
    return false;
  }
  if (room_.bytes.empty()) return false;
  if (count == room.bytes.size()) return true;
  readLater();
  return false;
}

// Behind what the bytes have set going: mostly nothing more is there yet, and that can wait.
void TcpStream::readLater() {
  asio::post(*strand_, [self = shared_from_this()] { self->beginRead(); });
}

void TcpStream::flushAtEndOfTurn() {
  if (std::exchange(flushing_, true)) return;
  asio::post(*strand_, [self = shared_from_this()] { self->flush(); });
}

void TcpStream::flush() {
  if (ended_) return;
  const error_code error = write();
  if (error && error != asio::error::would_block) return close(ConnectionState::failed);
  flushing_ = pendingBytes() > 0;
  if (!flushing_) return;
  socket_.async_wait(AsioSocket::wait_write,
                     onStrand([self = shared_from_this()](const error_code&) { self->flush(); }));
}

void TcpStream::appended() {
  if (ready_ && pendingBytes() > TcpConnection::kMaxPendingBytes) write();
  if (pendingBytes() > TcpConnection::kMaxPendingBytes) return close(ConnectionState::failed);
  if (ready_) flushAtEndOfTurn();
}

error_code TcpStream::write() {
  error_code error;
  std::array<std::span<const std::byte>, kPiecesPerWrite> pieces;
  std::array<asio::const_buffer, kPiecesPerWrite> buffers;
  unsent_.consume(0);  // an empty piece needs no kernel
  while (!unsent_.empty() && !error) {
    const auto count = unsent_.front(pieces);
    for (std::size_t i = 0; i < count; ++i) buffers[i] = {pieces[i].data(), pieces[i].size()};
    unsent_.consume(socket_.write_some(std::span(buffers).first(count), error));
  }
  postProcessed();
  return error;
}

void TcpStream::postProcessed() {
  if (!unsent_.hasProcessed() || !strand_) return;
  asio::post(*strand_, [self = shared_from_this()] { self->notifyProcessed(); });
}

void TcpStream::notifyProcessed() {
  for (auto& processed : unsent_.takeProcessed()) {
    if (!silent_) processed();
  }
}

}  // namespace tevanto
