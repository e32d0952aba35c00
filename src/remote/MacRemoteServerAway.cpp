#include "remote/MacRemoteServer.h"

#include <utility>

#include "core/settings/DeviceIdentity.h"
#include "remote/AnswererKeeper.h"
#include "remote/PairingInvitePublisher.h"
#include "remote/ServerStatus.h"

// The away road's part of the server. What keeps an answerer and an invite lives on the main queue, as the
// callbacks of a transport do; what they mean for the phone is decided on the server's queue, like everything
// else.
namespace tevanto {

void MacRemoteServer::setAwayAccess(AwayAccess road) {
  AnswererKeeper::Callbacks callbacks;
  callbacks.onChannelState = weakly(shared_from_this(), environment_.queue,
                                    [](MacRemoteServer& self, const std::shared_ptr<MessageChannel>& channel,
                                       ChannelState state) { self.awayChannelChanged(channel, state); });
  callbacks.onMessage =
      weakly(shared_from_this(), environment_.queue, [](MacRemoteServer& self, RemoteMessage message) {
        if (self.running_) self.handle(std::move(message));
      });
  answerer_ = std::make_shared<AnswererKeeper>(environment_.mainQueue, std::move(road.makeAnswerer),
                                               std::move(callbacks));
  invite_ = std::make_shared<PairingInvitePublisher>(environment_.mainQueue, std::move(road.invites));
}

void MacRemoteServer::setScreen(std::weak_ptr<ScreenTransportHost> screen) {
  answerer_->setScreen(std::move(screen));
}

template <class Work>
void MacRemoteServer::withAnswerer(Work work) {
  weakly(answerer_, environment_.mainQueue, std::move(work))();
}

template <class Work>
void MacRemoteServer::withInvite(Work work) {
  weakly(invite_, environment_.mainQueue, std::move(work))();
}

void MacRemoteServer::startAnswerer() {
  withAnswerer([room = deviceID_](AnswererKeeper& answerer) { answerer.start(room); });
}

void MacRemoteServer::publishInvite() {
  withInvite([current = PairingInvitePublisher::Invite{pairingCode.get(), deviceID_,
                                                       advertisedName(environment_.computerName)}](
                 PairingInvitePublisher& invite) { invite.publish(current); });
}

void MacRemoteServer::withdrawInvite(const std::string& code) {
  withInvite([code](PairingInvitePublisher& invite) { invite.withdraw(code); });
}

void MacRemoteServer::stopAwayAccess() {
  withAnswerer([](AnswererKeeper& answerer) { answerer.stop(); });
  withInvite([](PairingInvitePublisher& invite) { invite.stop(); });
  if (channelIsAway_) awayChannelEnded();
}

void MacRemoteServer::awayChannelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state) {
  if (!running_) return;
  if (state == ChannelState::ready) return awayChannelReady(channel);
  if (channel_ != channel) return;
  if (state == ChannelState::interrupted) {
    isClientConnected.set(false);
    return statusText.set(status::kReconnecting);
  }
  awayChannelEnded();
  statusText.set(status::kWaiting);
}

void MacRemoteServer::awayChannelReady(const std::shared_ptr<MessageChannel>& channel) {
  // It may have recovered just when its place was taken.
  if (channel == droppedChannel_.lock()) return;
  if (channel_ != channel) {
    closeChannel();
    channel_ = channel;
    channelIsAway_ = true;
    dispatch_->forgetApps();
  }
  channelReady();
}

void MacRemoteServer::awayChannelEnded() {
  channel_.reset();
  channelIsAway_ = false;
  isClientConnected.set(false);
}

void MacRemoteServer::dropAwayChannel() {
  droppedChannel_ = channel_;
  withAnswerer([channel = channel_](AnswererKeeper& answerer) { answerer.drop(channel); });
}

}  // namespace tevanto
