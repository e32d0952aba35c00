#include "net/web/AsioTlsContext.h"

#include <boost/asio/buffer.hpp>

namespace tevanto {

namespace ssl = boost::asio::ssl;

AsioTlsContext::AsioTlsContext(const TlsTrust& trust) : context_(ssl::context::tls_client) {
  boost::system::error_code error;
  SSL_CTX_set_min_proto_version(context_.native_handle(), TLS1_2_VERSION);
  context_.set_verify_mode(ssl::verify_peer, error);
  if (!error && trust.authoritiesPem) {
    context_.add_certificate_authority(boost::asio::buffer(*trust.authoritiesPem), error);
  } else if (!error) {
    context_.set_default_verify_paths(error);
  }
  if (error) fault_ = "the trusted certificates cannot be read: " + error.message();
}

}  // namespace tevanto
