#include "net/web/AsioDialer.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

#include "net/tcp/AsioSocket.h"

namespace tevanto {

namespace asio = boost::asio;
using boost::system::error_code;

AsioDialer::AsioDialer(EventLoopQueue::Strand strand)
    : strand_(std::move(strand)), resolver_(strand_), attemptDelay_(strand_) {}

void AsioDialer::dial(const std::string& host, std::uint16_t port, Completion done) {
  error_code notAnAddress;
  const auto address = asio::ip::make_address(host, notAnAddress);
  if (!notAnAddress) return dial({{address, port}}, std::move(done));
  done_ = std::move(done);
  resolver_.async_resolve(host, std::to_string(port),
                          [self = shared_from_this()](const error_code& error, const auto& found) {
                            if (!self->done_) return;
                            if (error) return self->finish(error, nullptr);
                            Endpoints endpoints;
                            for (const auto& entry : found) endpoints.push_back(entry.endpoint());
                            self->dial(std::move(endpoints), std::move(self->done_));
                          });
}

void AsioDialer::dial(Endpoints endpoints, Completion done) {
  done_ = std::move(done);
  endpoints_ = interleaved(endpoints);
  attempts_.reserve(endpoints_.size());
  lastError_ = asio::error::host_not_found;
  asio::post(strand_, [self = shared_from_this()] { self->tryNext(); });
}

void AsioDialer::cancel() {
  done_ = nullptr;
  resolver_.cancel();
  attemptDelay_.cancel();
  for (auto& socket : attempts_) {
    error_code ignored;
    socket.close(ignored);
  }
}

AsioDialer::Endpoints AsioDialer::interleaved(const Endpoints& endpoints) {
  Endpoints families[2];
  for (const auto& endpoint : endpoints) {
    families[endpoint.protocol() == endpoints.front().protocol() ? 0 : 1].push_back(endpoint);
  }
  Endpoints mixed;
  for (std::size_t i = 0; i < std::max(families[0].size(), families[1].size()); ++i) {
    for (const auto& family : families) {
      if (i < family.size()) mixed.push_back(family[i]);
    }
  }
  return mixed;
}

void AsioDialer::tryNext() {
  if (!done_) return;
  if (attempts_.size() == endpoints_.size()) {
    if (open_ == 0) finish(lastError_, nullptr);
    return;
  }
  const std::size_t attempt = attempts_.size();
  auto& socket = attempts_.emplace_back(strand_);
  ++open_;
  error_code fault;
  socket.open(endpoints_[attempt].protocol(), fault);
  if (fault) {
    asio::post(strand_, [self = shared_from_this(), attempt, fault] { self->connected(attempt, fault); });
    return;
  }
  closeOnExec(socket.native_handle());
  socket.async_connect(endpoints_[attempt], [self = shared_from_this(), attempt](const error_code& error) {
    self->connected(attempt, error);
  });
  if (attempts_.size() == endpoints_.size()) return;
  attemptDelay_.expires_after(kAttemptDelay);
  attemptDelay_.async_wait([self = shared_from_this()](const error_code& cancelled) {
    if (!cancelled) self->tryNext();
  });
}

void AsioDialer::connected(std::size_t attempt, const error_code& error) {
  if (!done_) return;
  --open_;
  if (!error) return finish(error, &attempts_[attempt]);
  lastError_ = error;
  attemptDelay_.cancel();
  tryNext();
}

void AsioDialer::finish(const error_code& error, AsioStrandSocket* socket) {
  const auto done = std::exchange(done_, nullptr);
  done(error, socket);
  cancel();  // the slower attempts; the socket that was taken has moved on
}

}  // namespace tevanto
