#include "net/web/AsioClientStream.h"

#include <boost/asio/ip/address.hpp>

namespace tevanto {

using boost::system::error_code;

namespace {

/// Makes the certificate's check include the name or address that was asked for, and tells the server the
/// name (RFC 6066 knows no addresses there).
bool expectHost(SSL* connection, const std::string& host) {
  error_code notAnAddress;
  boost::asio::ip::make_address(host, notAnAddress);
  X509_VERIFY_PARAM* checks = SSL_get0_param(connection);
  X509_VERIFY_PARAM_set_hostflags(checks, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  if (!notAnAddress) {
    const std::string withoutZone = host.substr(0, host.find('%'));
    return X509_VERIFY_PARAM_set1_ip_asc(checks, withoutZone.c_str()) == 1;
  }
  return X509_VERIFY_PARAM_set1_host(checks, host.c_str(), host.size()) == 1 &&
         SSL_set_tlsext_host_name(connection, host.c_str()) == 1;
}

}  // namespace

void AsioClientStream::secure(AsioTlsContext& tls, const std::string& host,
                              std::function<void(std::string fault)> done) {
  std::string fault = tls.fault();
  if (fault.empty()) {
    tls_.emplace(socket_, tls.context());
    if (!expectHost(tls_->native_handle(), host)) fault = "\"" + host + "\" cannot be checked";
  }
  if (!fault.empty()) {
    boost::asio::post(get_executor(), [done = std::move(done), fault = std::move(fault)] { done(fault); });
    return;
  }
  tls_->async_handshake(boost::asio::ssl::stream_base::client,
                        [this, done = std::move(done)](const error_code& error) {
                          done(error ? refusal(error) : std::string());
                        });
}

void AsioClientStream::readSome(boost::asio::mutable_buffer room, Transferred done) {
  if (tls_) return tls_->async_read_some(room, std::move(done));
  socket_.async_read_some(room, std::move(done));
}

void AsioClientStream::writeSome(const Gathered& bytes, Transferred done) {
  if (tls_) return tls_->async_write_some(bytes, std::move(done));
  socket_.async_write_some(bytes, std::move(done));
}

std::string AsioClientStream::refusal(const error_code& error) {
  const long verified = SSL_get_verify_result(tls_->native_handle());
  if (verified == X509_V_OK) return "no TLS: " + error.message();
  return std::string("the server's certificate is not trusted: ") + X509_verify_cert_error_string(verified);
}

void AsioClientStream::close() {
  error_code ignored;
  socket_.shutdown(boost::asio::socket_base::shutdown_both, ignored);
  socket_.close(ignored);
}

void beast_close_socket(AsioClientStream& stream) { stream.close(); }

void teardown(boost::beast::role_type, AsioClientStream& stream, error_code& error) {
  stream.close();
  error = {};
}

}  // namespace tevanto
