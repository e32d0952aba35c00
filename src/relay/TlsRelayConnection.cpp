#include "relay/AsioRelayConnection.h"
#include "relay/AsioRelayStream.h"
#include "relay/TlsSocket.h"

namespace tevanto::relay {
namespace {

class TlsRelayConnection final : public AsioRelayStream<TlsSocket> {
 public:
  using AsioRelayStream::AsioRelayStream;

 private:
  void readRequest() override {
    stream().async_handshake([self = self(), this](const Error& error) {
      if (error) return readFailed();
      AsioRelayStream::readRequest();
    });
  }
};

}  // namespace

std::shared_ptr<RelayConnection> makeTlsRelayConnection(std::shared_ptr<RelayContext> context,
                                                        AsioSocket socket, const IpAddress& peer,
                                                        boost::asio::ssl::context& certificates) {
  return std::make_shared<TlsRelayConnection>(std::move(context), peer, std::move(socket), certificates);
}

}  // namespace tevanto::relay
