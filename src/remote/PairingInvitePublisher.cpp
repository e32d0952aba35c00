#include "remote/PairingInvitePublisher.h"

#include <utility>

namespace tevanto {

PairingInvitePublisher::PairingInvitePublisher(std::shared_ptr<SerialQueue> mainQueue,
                                               std::shared_ptr<PairingInvites> invites)
    : QueueBound(std::move(mainQueue)), invites_(std::move(invites)) {}

void PairingInvitePublisher::publish(Invite invite) {
  if (!invites_) return;
  invite_ = std::move(invite);
  publishNow();
}

void PairingInvitePublisher::publishNow() {
  invites_->publishPairInvite(invite_.code, invite_.deviceID, {invite_.deviceID, invite_.deviceName});
  refresh_ = queue()->asyncAfter(kRefreshInterval, weakCall(&PairingInvitePublisher::publishNow));
}

void PairingInvitePublisher::withdraw(const std::string& code) {
  if (invites_) invites_->deletePairInvite(code);
}

}  // namespace tevanto
