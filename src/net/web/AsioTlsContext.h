#pragma once

#include <boost/asio/ssl/context.hpp>
#include <string>

#include "net/web/HttpClient.h"

namespace tevanto {

/// What all TLS connections of a client share: the versions that it speaks and whom it believes.
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
