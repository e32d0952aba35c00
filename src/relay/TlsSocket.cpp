#include "relay/TlsSocket.h"

#include <openssl/err.h>

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <cerrno>

namespace tevanto::relay {

TlsSocket::TlsSocket(AsioSocket socket, boost::asio::ssl::context& certificates)
    : socket_(std::move(socket)), ssl_(::SSL_new(certificates.native_handle())) {
  Error ignored;
  socket_.native_non_blocking(true, ignored);
  if (!ssl_) return;
  // What is tried again may lie elsewhere by then, and may be written in part.
  ::SSL_set_mode(ssl_.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  if (::SSL_set_fd(ssl_.get(), socket_.native_handle()) != 1) ssl_.reset();
}

bool TlsSocket::begin(Outcome& outcome) const {
  if (!ssl_) outcome.error = boost::asio::error::no_memory;
  // The descriptor of a socket that was closed may be another connection's by now.
  if (!socket_.is_open()) outcome.error = boost::asio::error::operation_aborted;
  ::ERR_clear_error();
  errno = 0;
  return !outcome.error;
}

void TlsSocket::explain(int result, Outcome& outcome) const {
  const int systemError = errno;
  switch (::SSL_get_error(ssl_.get(), result)) {
    case SSL_ERROR_WANT_READ:
      outcome.want = Outcome::Want::read;
      return;
    case SSL_ERROR_WANT_WRITE:
      outcome.want = Outcome::Want::write;
      return;
    case SSL_ERROR_ZERO_RETURN:
      outcome.error = boost::asio::error::eof;
      return;
    case SSL_ERROR_SYSCALL:
      outcome.error = systemError == 0 ? Error(boost::asio::error::eof)
                                       : Error(systemError, boost::system::system_category());
      return;
    default:
      outcome.error = Error(static_cast<int>(::ERR_get_error()), boost::asio::error::get_ssl_category());
  }
}

int TlsSocket::sendCloseNotify() const {
  const int said = ::SSL_shutdown(ssl_.get());
  return said == 0 ? ::SSL_shutdown(ssl_.get()) : said;
}

}  // namespace tevanto::relay
