#pragma once

#include <api/transport/sctp_transport_factory_interface.h>
#include <rtc_base/thread.h>

#include <memory>

namespace tevanto {

/// ShallowSctpTransportFactory makes SCTP transports (RFC 8831) with a short send buffer. The library's own
/// buffer takes 2 MB before a data channel has to wait. On a slow connection that is many seconds of screen,
/// which no buffered amount shows.
class ShallowSctpTransportFactory final : public webrtc::SctpTransportFactoryInterface {
 public:
  explicit ShallowSctpTransportFactory(rtc::Thread* network) : network_(network) {}

  std::unique_ptr<cricket::SctpTransportInternal> CreateSctpTransport(
      rtc::PacketTransportInternal* transport) override;

 private:
  rtc::Thread* const network_;
};

}  // namespace tevanto
