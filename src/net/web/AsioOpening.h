#pragma once

#include <functional>
#include <memory>
#include <string>

#include "net/Url.h"
#include "net/web/AsioClientStream.h"

namespace tevanto {

/// Opens the way to a server: finds its addresses, connects to one, and makes sure of the server where the
/// URL says so. Lives on its strand.
class AsioOpening : public std::enable_shared_from_this<AsioOpening> {
 public:
  /// The stream, or why there is none.
  using Completion = std::function<void(std::unique_ptr<AsioClientStream>, std::string fault)>;

  AsioOpening(const EventLoopQueue::Strand& strand, std::shared_ptr<AsioTlsContext> tls);

  /// `done` is called once, never inside this call, and not after `cancel`.
  void open(Url url, Completion done);
  void cancel();

 private:
  void connected(const boost::system::error_code& error, AsioStrandSocket* socket);
  void finish(std::string fault);

  std::shared_ptr<AsioDialer> dialer_;
  std::shared_ptr<AsioTlsContext> tls_;
  Url url_;
  std::unique_ptr<AsioClientStream> stream_;
  Completion done_;  // until it was called
};

}  // namespace tevanto
