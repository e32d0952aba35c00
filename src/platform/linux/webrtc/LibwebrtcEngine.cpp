#include "platform/linux/webrtc/LibwebrtcEngine.h"

#include <rtc_base/ssl_adapter.h>
#include <rtc_base/ssl_stream_adapter.h>

#include <array>
#include <cstdint>
#include <utility>

#include "platform/linux/webrtc/LibwebrtcSocketServer.h"
#include "platform/linux/webrtc/ShallowSctpTransportFactory.h"

namespace tevanto {

std::shared_ptr<LibwebrtcEngine> LibwebrtcEngine::start(const PeerEngineOptions& options) {
  std::shared_ptr<LibwebrtcEngine> engine(new LibwebrtcEngine(options), &LibwebrtcEngine::release);
  return engine->factory_ ? engine : nullptr;
}

LibwebrtcEngine::LibwebrtcEngine(const PeerEngineOptions& options)
    : log_(options),
      network_(std::make_unique<LibwebrtcSocketServer>()),
      worker_(std::make_unique<rtc::NullSocketServer>()),
      ownLoop_(options.signalingQueue ? nullptr : EventLoop::background(1)),
      signaling_(ownLoop_ ? ownLoop_->makeQueue("peer-signaling") : options.signalingQueue) {
  rtc::InitializeSSL();
  network_.SetName("peer-network", nullptr);
  worker_.SetName("peer-worker", nullptr);
  for (auto* thread : {&network_, &worker_}) thread->Start();
  keepSrtpReady();
  makeFactory(options.includeLoopback);
}

LibwebrtcEngine::~LibwebrtcEngine() {
  // What was posted holds objects of the engine, which can only end while its threads run.
  signaling_.finish([this] {
    awaitSrtp();
    factory_ = nullptr;
  });
  worker_.Stop();
  network_.Stop();
}

/// Every connection comes with SRTP, which data channels never use. Its library tests its ciphers whenever it
/// has no session and gets one: on the network thread, when the handshake is done and SCTP waits. So it
/// always has this one, made on a thread that nobody waits for.
void LibwebrtcEngine::keepSrtpReady() {
  preparing_ = std::thread([this] {
    srtp_ = std::make_unique<cricket::SrtpSession>();
    const std::array<std::uint8_t, 30> noSecret{};
    srtp_->SetSend(rtc::kSrtpAes128CmSha1_80, noSecret.data(), noSecret.size(), {});
  });
}

void LibwebrtcEngine::awaitSrtp() {
  if (preparing_.joinable()) preparing_.join();
}

void LibwebrtcEngine::makeFactory(bool includeLoopback) {
  webrtc::PeerConnectionFactoryDependencies parts;
  parts.network_thread = &network_;
  parts.worker_thread = &worker_;
  parts.signaling_thread = &signaling_.thread();
  parts.sctp_factory = std::make_unique<ShallowSctpTransportFactory>(&network_);
  factory_ = webrtc::CreateModularPeerConnectionFactory(std::move(parts));
  if (!factory_ || !includeLoopback) return;
  webrtc::PeerConnectionFactoryInterface::Options options;
  options.network_ignore_mask = 0;
  factory_->SetOptions(options);
}

bool LibwebrtcEngine::isOnOwnThread() const {
  return signaling_.isCurrent() || network_.IsCurrent() || worker_.IsCurrent();
}

void LibwebrtcEngine::release(LibwebrtcEngine* engine) {
  std::unique_ptr<LibwebrtcEngine> last(engine);
  if (!engine->isOnOwnThread()) return;
  // A thread cannot wait for its own end, nor does the engine end inside one of its tasks.
  if (engine->ownLoop_) {
    std::thread([last = std::move(last)] {}).detach();
  } else {
    engine->signaling_.afterwards([last = std::move(last)] {});
  }
}

}  // namespace tevanto
