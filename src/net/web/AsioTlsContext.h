#pragma once

#include <boost/asio/ssl/context.hpp>
#include <string>

#include "net/web/HttpClient.h"

namespace tevanto {

/// AsioTlsContext holds the settings that all TLS connections of a client share: the versions of TLS and the
/// accepted certificates.
class AsioTlsContext {
 public:
  explicit AsioTlsContext(const TlsTrust& trust);

  boost::asio::ssl::context& context() { return context_; }
  /// Why no connection can be trusted; empty when all is well.
  const std::string& fault() const { return fault_; }

 private:
  boost::asio::ssl::context context_;
  std::string fault_;
};

}  // namespace tevanto
