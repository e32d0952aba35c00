#include "platform/linux/webrtc/LibwebrtcCompletions.h"

#include <api/make_ref_counted.h>

#include <utility>

#include "platform/linux/webrtc/LibwebrtcRouteReport.h"

namespace tevanto {
namespace {

std::string textOf(const webrtc::RTCError& error) {
  const std::string message = error.message();
  return message.empty() ? std::string(webrtc::ToString(error.type())) : message;
}

Result<void> resultOf(const webrtc::RTCError& error) {
  if (error.ok()) return {};
  return Failure{textOf(error)};
}

class DescriptionCompletion : public webrtc::CreateSessionDescriptionObserver {
 public:
  DescriptionCompletion(std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DescriptionHandler done)
      : core_(std::move(core)), done_(std::move(done)) {}

  void OnSuccess(webrtc::SessionDescriptionInterface* made) override {
    const std::unique_ptr<webrtc::SessionDescriptionInterface> description(made);
    const auto type = description->GetType() == webrtc::SdpType::kOffer ? tevanto::SdpType::offer
                                                                        : tevanto::SdpType::answer;
    std::string sdp;
    const bool written = description->ToString(&sdp);
    core_->report([&] {
      if (!written) return done_(Failure{"The description cannot be written."});
      done_(SessionDescription{type, std::move(sdp)});
    });
  }
  void OnFailure(webrtc::RTCError error) override {
    core_->report([&] { done_(Failure{textOf(error)}); });
  }

 private:
  const std::shared_ptr<LibwebrtcPeerCore> core_;
  const PeerConnection::DescriptionHandler done_;
};

class LocalCompletion : public webrtc::SetLocalDescriptionObserverInterface {
 public:
  LocalCompletion(std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done)
      : core_(std::move(core)), done_(std::move(done)) {}
  void OnSetLocalDescriptionComplete(webrtc::RTCError error) override {
    core_->report([&] { done_(resultOf(error)); });
  }

 private:
  const std::shared_ptr<LibwebrtcPeerCore> core_;
  const PeerConnection::DoneHandler done_;
};

class RemoteCompletion : public webrtc::SetRemoteDescriptionObserverInterface {
 public:
  RemoteCompletion(std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done)
      : core_(std::move(core)), done_(std::move(done)) {}
  void OnSetRemoteDescriptionComplete(webrtc::RTCError error) override {
    core_->report([&] { done_(resultOf(error)); });
  }

 private:
  const std::shared_ptr<LibwebrtcPeerCore> core_;
  const PeerConnection::DoneHandler done_;
};

class StatisticsCompletion : public webrtc::RTCStatsCollectorCallback {
 public:
  StatisticsCompletion(std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::StatisticsHandler done)
      : core_(std::move(core)), done_(std::move(done)) {}
  void OnStatsDelivered(const rtc::scoped_refptr<const webrtc::RTCStatsReport>& report) override {
    core_->report([&] { done_(routeReportOf(*report)); });
  }

 private:
  const std::shared_ptr<LibwebrtcPeerCore> core_;
  const PeerConnection::StatisticsHandler done_;
};

}  // namespace

rtc::scoped_refptr<webrtc::CreateSessionDescriptionObserver> completionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DescriptionHandler done) {
  return rtc::make_ref_counted<DescriptionCompletion>(std::move(core), std::move(done));
}

rtc::scoped_refptr<webrtc::SetLocalDescriptionObserverInterface> localCompletionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done) {
  return rtc::make_ref_counted<LocalCompletion>(std::move(core), std::move(done));
}

rtc::scoped_refptr<webrtc::SetRemoteDescriptionObserverInterface> remoteCompletionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done) {
  return rtc::make_ref_counted<RemoteCompletion>(std::move(core), std::move(done));
}

rtc::scoped_refptr<webrtc::RTCStatsCollectorCallback> completionOf(std::shared_ptr<LibwebrtcPeerCore> core,
                                                                   PeerConnection::StatisticsHandler done) {
  return rtc::make_ref_counted<StatisticsCompletion>(std::move(core), std::move(done));
}

}  // namespace tevanto
