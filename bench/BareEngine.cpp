#include "bench/BareEngine.h"

#include <rtc_base/logging.h>
#include <rtc_base/ssl_adapter.h>

#include <utility>

#include "platform/linux/webrtc/LibwebrtcSocketServer.h"
#include "platform/linux/webrtc/ShallowSctpTransportFactory.h"

namespace tevanto::bench {

BareEngine::BareEngine() : network_(std::make_unique<LibwebrtcSocketServer>()) {
  rtc::LogMessage::LogToDebug(rtc::LS_NONE);
  rtc::InitializeSSL();
  for (auto* thread : {&network_, worker_.get(), signaling_.get()}) thread->Start();
  webrtc::PeerConnectionFactoryDependencies parts;
  parts.network_thread = &network_;
  parts.worker_thread = worker_.get();
  parts.signaling_thread = signaling_.get();
  parts.sctp_factory = std::make_unique<ShallowSctpTransportFactory>(&network_);
  factory_ = webrtc::CreateModularPeerConnectionFactory(std::move(parts));
  webrtc::PeerConnectionFactoryInterface::Options options;
  options.network_ignore_mask = 0;
  factory_->SetOptions(options);
}

BareEngine::~BareEngine() {
  factory_ = nullptr;
  signaling_->Stop();
  worker_->Stop();
  network_.Stop();
}

}  // namespace tevanto::bench
