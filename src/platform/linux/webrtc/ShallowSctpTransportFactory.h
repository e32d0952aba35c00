#pragma once

#include <api/transport/sctp_transport_factory_interface.h>
#include <rtc_base/thread.h>

#include <memory>

namespace tevanto {

/// SCTP (RFC 8831) with a short send buffer. As the library makes it, it takes 2 MB before a data channel has
/// to wait: on a slow road that is many seconds of screen, and no buffered amount ever tells of them.
class ShallowSctpTransportFactory final : public webrtc::SctpTransportFactoryInterface {
 public:
  explicit ShallowSctpTransportFactory(rtc::Thread* network) : network_(network) {}

  std::unique_ptr<cricket::SctpTransportInternal> CreateSctpTransport(
      rtc::PacketTransportInternal* transport) override;

 private:
  rtc::Thread* const network_;
};

}  // namespace tevanto
