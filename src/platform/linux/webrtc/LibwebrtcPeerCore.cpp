#include "platform/linux/webrtc/LibwebrtcPeerCore.h"

#include <string>

#include "platform/linux/webrtc/LibwebrtcDataChannel.h"

namespace tevanto {
namespace {

using Engine = webrtc::PeerConnectionInterface;

IceConnectionState stateOf(Engine::IceConnectionState state) {
  switch (state) {
    case Engine::kIceConnectionNew:
      return IceConnectionState::new_;
    case Engine::kIceConnectionChecking:
      return IceConnectionState::checking;
    case Engine::kIceConnectionConnected:
      return IceConnectionState::connected;
    case Engine::kIceConnectionCompleted:
      return IceConnectionState::completed;
    case Engine::kIceConnectionFailed:
      return IceConnectionState::failed;
    case Engine::kIceConnectionDisconnected:
      return IceConnectionState::disconnected;
    case Engine::kIceConnectionClosed:
      return IceConnectionState::closed;
    case Engine::kIceConnectionMax:
      break;
  }
  return IceConnectionState::count;
}

IceGatheringState stateOf(Engine::IceGatheringState state) {
  switch (state) {
    case Engine::kIceGatheringNew:
      return IceGatheringState::new_;
    case Engine::kIceGatheringGathering:
      return IceGatheringState::gathering;
    case Engine::kIceGatheringComplete:
      break;
  }
  return IceGatheringState::complete;
}

}  // namespace

LibwebrtcPeerCore::LibwebrtcPeerCore(std::weak_ptr<LibwebrtcEngine> engine,
                                     std::weak_ptr<tevanto::PeerConnectionObserver> observer)
    : engine_(std::move(engine)), observer_(std::move(observer)) {}

bool LibwebrtcPeerCore::open(webrtc::PeerConnectionFactoryInterface& factory,
                             const Engine::RTCConfiguration& configuration) {
  auto made = factory.CreatePeerConnectionOrError(configuration, webrtc::PeerConnectionDependencies(this));
  if (made.ok()) connection_ = made.MoveValue();
  return connection_ != nullptr;
}

void LibwebrtcPeerCore::close() {
  connection_->Close();
  connection_ = nullptr;
}

void LibwebrtcPeerCore::silence() {
  silenced_ = true;
  gate_.quiesce();
}

void LibwebrtcPeerCore::OnDataChannel(rtc::scoped_refptr<webrtc::DataChannelInterface> channel) {
  const auto engine = engine_.lock();
  if (!engine) return;
  const auto adopted = LibwebrtcDataChannel::adopt(engine, std::move(channel));
  notify([&](auto& observer) { observer.peerDidOpenDataChannel(adopted); });
}

void LibwebrtcPeerCore::OnIceConnectionChange(Engine::IceConnectionState state) {
  iceConnectionState_ = stateOf(state);
  notify([&](auto& observer) { observer.peerDidChangeIceConnectionState(stateOf(state)); });
}

void LibwebrtcPeerCore::OnIceGatheringChange(Engine::IceGatheringState state) {
  notify([&](auto& observer) { observer.peerDidChangeIceGatheringState(stateOf(state)); });
}

void LibwebrtcPeerCore::OnIceCandidate(const webrtc::IceCandidateInterface* candidate) {
  std::string line;
  if (!candidate->ToString(&line)) return;
  const IceCandidate found{line, candidate->sdp_mid(), candidate->sdp_mline_index()};
  notify([&](auto& observer) { observer.peerDidGenerateCandidate(found); });
}

}  // namespace tevanto
