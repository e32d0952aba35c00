#include "platform/linux/webrtc/ShallowSctpTransportFactory.h"

#include <media/sctp/dcsctp_transport.h>
#include <net/dcsctp/public/dcsctp_socket_factory.h>
#include <system_wrappers/include/clock.h>

namespace tevanto {
namespace {

// What waits in SCTP beyond what is in flight. Enough to keep the network busy while the signaling thread,
// which is the program's loop, brings more; little against the 64 KiB at which frames begin to be dropped.
constexpr std::size_t kSendBuffer = 64 * 1024;
constexpr std::size_t kRefillBelow = 32 * 1024;
// What the other side may have in flight to us: 20 Mbit/s over a way of 200 ms. For each acknowledgement the
// sender goes through all of it, and in a build of the library with its own checks more than once: 5 MiB, its
// default, keep a processor busy with 4 MB/s where nothing is lost.
constexpr std::size_t kReceiveWindow = 512 * 1024;

class ShallowSocketFactory final : public dcsctp::DcSctpSocketFactory {
 public:
  std::unique_ptr<dcsctp::DcSctpSocketInterface> Create(absl::string_view logPrefix,
                                                        dcsctp::DcSctpSocketCallbacks& callbacks,
                                                        std::unique_ptr<dcsctp::PacketObserver> observer,
                                                        const dcsctp::DcSctpOptions& options) override {
    auto shallow = options;
    shallow.max_send_buffer_size = kSendBuffer;
    shallow.total_buffered_amount_low_threshold = kRefillBelow;
    shallow.max_receiver_window_buffer_size = kReceiveWindow;
    return dcsctp::DcSctpSocketFactory::Create(logPrefix, callbacks, std::move(observer), shallow);
  }
};

}  // namespace

std::unique_ptr<cricket::SctpTransportInternal> ShallowSctpTransportFactory::CreateSctpTransport(
    rtc::PacketTransportInternal* transport) {
  return std::make_unique<webrtc::DcSctpTransport>(network_, transport, webrtc::Clock::GetRealTimeClock(),
                                                   std::make_unique<ShallowSocketFactory>());
}

}  // namespace tevanto
