#pragma once

#include <openssl/ssl.h>
#include <sys/time.h>

#include <csignal>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/peers/RawSocket.h"

namespace tevanto::relay::test {

using tevanto::test::RawSocket;

/// A TLS client that takes any certificate and says whose it is.
class TlsSocket {
 public:
  /// To a port of loopback.
  explicit TlsSocket(std::uint16_t port, int newestVersion = 0)
      : TlsSocket(RawSocket::connectTo(port), newestVersion) {}
  explicit TlsSocket(RawSocket socket, int newestVersion = 0)
      : socket_(std::move(socket)), context_(::SSL_CTX_new(::TLS_client_method()), ::SSL_CTX_free) {
    const timeval deadline{.tv_sec = 20, .tv_usec = 0};
    ::setsockopt(socket_.fd(), SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    // The test's own library would refuse old versions before the relay can.
    ::SSL_CTX_set_cipher_list(context_.get(), "DEFAULT@SECLEVEL=0");
    ::SSL_CTX_set_max_proto_version(context_.get(), newestVersion);
    if (newestVersion != 0) ::SSL_CTX_set_min_proto_version(context_.get(), newestVersion);
    // The library's writes would end the test with a peer that is gone.
    std::signal(SIGPIPE, SIG_IGN);
    ssl_.reset(::SSL_new(context_.get()));
    ::SSL_set_fd(ssl_.get(), socket_.fd());
    isOpen_ = ::SSL_connect(ssl_.get()) == 1;
  }

  bool isOpen() const { return isOpen_; }
  std::string certificateName() const {
    const std::unique_ptr<X509, decltype(&::X509_free)> certificate(::SSL_get1_peer_certificate(ssl_.get()),
                                                                    ::X509_free);
    if (!certificate) return "";
    char name[100] = "";
    ::X509_NAME_get_text_by_NID(::X509_get_subject_name(certificate.get()), NID_commonName, name,
                                sizeof name);
    return name;
  }
  bool send(std::string_view bytes) {
    return ::SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
  }
  std::string receive() {
    std::string bytes(16384, '\0');
    const int count = ::SSL_read(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()));
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }

 private:
  struct FreeSsl {
    void operator()(SSL* ssl) const { ::SSL_free(ssl); }
  };
  RawSocket socket_;
  std::unique_ptr<SSL_CTX, decltype(&::SSL_CTX_free)> context_;
  std::unique_ptr<SSL, FreeSsl> ssl_;
  bool isOpen_ = false;
};

}  // namespace tevanto::relay::test
