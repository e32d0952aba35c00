#include "remote/AwayServer.h"

#include <utility>

#include "core/queue/QueueBound.h"

namespace tevanto {

AwayServer::AwayServer(std::shared_ptr<SerialQueue> mainQueue, AwayAccess access,
                       AnswererKeeper::Callbacks callbacks)
    : mainQueue_(std::move(mainQueue)),
      answerer_(
          std::make_shared<AnswererKeeper>(mainQueue_, std::move(access.makeAnswerer), std::move(callbacks))),
      invite_(std::make_shared<PairingInvitePublisher>(mainQueue_, std::move(access.invites))) {}

template <class Target, class Work>
void AwayServer::onMain(const std::shared_ptr<Target>& target, Work work) {
  mainQueue_->async(weakCall(std::weak_ptr(target), std::move(work)));
}

void AwayServer::setScreen(std::weak_ptr<ScreenTransportHost> screen) {
  answerer_->setScreen(std::move(screen));
}

void AwayServer::start(const std::string& room) {
  onMain(answerer_, [room](AnswererKeeper& answerer) { answerer.start(room); });
}

void AwayServer::publish(PairingInvitePublisher::Invite invite) {
  onMain(invite_,
         [invite = std::move(invite)](PairingInvitePublisher& publisher) { publisher.publish(invite); });
}

void AwayServer::withdraw(const std::string& code) {
  onMain(invite_, [code](PairingInvitePublisher& publisher) { publisher.withdraw(code); });
}

void AwayServer::close(const std::shared_ptr<MessageChannel>& channel) {
  droppedChannel_ = channel;
  onMain(answerer_, [channel](AnswererKeeper& answerer) { answerer.close(channel); });
}

bool AwayServer::hasDropped(const std::shared_ptr<MessageChannel>& channel) const {
  return channel == droppedChannel_.lock();
}

void AwayServer::stop() {
  onMain(answerer_, &AnswererKeeper::stop);
  onMain(invite_, &PairingInvitePublisher::stop);
}

}  // namespace tevanto
