#include "net/web/AsioOpening.h"

#include <utility>

namespace tevanto {

using boost::system::error_code;

AsioOpening::AsioOpening(const EventLoopQueue::Strand& strand, std::shared_ptr<AsioTlsContext> tls)
    : dialer_(std::make_shared<AsioDialer>(strand)), tls_(std::move(tls)) {}

void AsioOpening::open(Url url, Completion done) {
  url_ = std::move(url);
  done_ = std::move(done);
  dialer_->dial(url_.host, url_.port,
                [self = shared_from_this()](const error_code& error, AsioStrandSocket* socket) {
                  self->connected(error, socket);
                });
}

void AsioOpening::cancel() {
  done_ = nullptr;
  dialer_->cancel();
  // A handshake under way still works on the stream, which goes with it.
  if (stream_) stream_->close();
}

void AsioOpening::connected(const error_code& error, AsioStrandSocket* socket) {
  if (!done_) return;
  if (error) return finish("no connection to " + url_.authority() + ": " + error.message());
  error_code ignored;
  socket->set_option(boost::asio::ip::tcp::no_delay(true), ignored);
  stream_ = std::make_unique<AsioClientStream>(std::move(*socket));
  if (!url_.isSecure()) return finish({});
  stream_->secure(*tls_, url_.host, [self = shared_from_this()](std::string fault) {
    self->finish(fault.empty() ? fault : self->url_.authority() + ": " + fault);
  });
}

void AsioOpening::finish(std::string fault) {
  const auto done = std::exchange(done_, nullptr);
  if (!done) return;
  if (fault.empty()) return done(std::move(stream_), {});
  done(nullptr, std::move(fault));
}

}  // namespace tevanto
