// Peers of the WebRTC framework, on the loopback interface.

#include "core/queue/EventLoop.h"
#include "platform/macos/away/LKRTCPeerConnections.h"
#include "tests/platform/contracts/PeerConnectionContract.h"

namespace tevanto::test {
namespace {

/// With the threads that its callbacks come on.
class LKRTCOnLoopback final : public PeerConnectionFactory {
 public:
  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override {
    return peers_.create(configuration, std::move(observer));
  }

 private:
  const std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  LKRTCPeerConnections peers_{loop_->makeQueue("peers"), {.includeLoopback = true}};
};

INSTANTIATE_TEST_SUITE_P(Engines, PeerConnectionContract,
                         testing::Values(PeerImplementation{
                             "LKRTC", [] { return std::make_unique<LKRTCOnLoopback>(); }}));

}  // namespace
}  // namespace tevanto::test
