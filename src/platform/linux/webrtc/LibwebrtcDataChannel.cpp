#include "platform/linux/webrtc/LibwebrtcDataChannel.h"

#include <utility>

namespace tevanto {

std::shared_ptr<LibwebrtcDataChannel> LibwebrtcDataChannel::adopt(
    std::shared_ptr<LibwebrtcEngine> engine, rtc::scoped_refptr<webrtc::DataChannelInterface> channel) {
  auto label = channel->label();
  auto link = std::make_shared<LibwebrtcChannelCore>(std::move(channel));
  std::shared_ptr<LibwebrtcDataChannel> adopted(
      new LibwebrtcDataChannel(std::move(engine), std::move(label), std::move(link)));
  adopted->link_->connect(adopted);
  return adopted;
}

LibwebrtcDataChannel::LibwebrtcDataChannel(std::shared_ptr<LibwebrtcEngine> engine, std::string label,
                                           std::shared_ptr<LibwebrtcChannelCore> link)
    : engine_(std::move(engine)), label_(std::move(label)), link_(std::move(link)) {}

LibwebrtcDataChannel::~LibwebrtcDataChannel() {
  link_->setObserver({});
  engine_->signaling().post([link = link_] { link->disconnect(); });
}

bool LibwebrtcDataChannel::send(std::span<const std::byte> message) {
  if (!link_->reserve(message.size())) return false;
  rtc::CopyOnWriteBuffer copy(reinterpret_cast<const std::uint8_t*>(message.data()), message.size());
  engine_->signaling().dispatch([link = link_, copy = std::move(copy)] { link->send(copy); });
  return true;
}

void LibwebrtcDataChannel::setObserver(std::weak_ptr<Observer> observer) {
  link_->setObserver(std::move(observer));
  engine_->signaling().post([link = link_] { link->deliverEarly(); });
}

void LibwebrtcDataChannel::close() {
  link_->closeSoon();
  engine_->signaling().post([link = link_] { link->close(); });
}

}  // namespace tevanto
