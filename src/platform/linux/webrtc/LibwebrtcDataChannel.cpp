#include "platform/linux/webrtc/LibwebrtcDataChannel.h"

#include <utility>

namespace tevanto {

std::shared_ptr<LibwebrtcDataChannel> LibwebrtcDataChannel::adopt(
    std::shared_ptr<LibwebrtcEngine> engine, rtc::scoped_refptr<webrtc::DataChannelInterface> channel) {
  auto label = channel->label();
  auto core = std::make_shared<LibwebrtcChannelCore>(std::move(channel));
  std::shared_ptr<LibwebrtcDataChannel> adopted(
      new LibwebrtcDataChannel(std::move(engine), std::move(label), std::move(core)));
  adopted->core_->connect(adopted);
  return adopted;
}

LibwebrtcDataChannel::LibwebrtcDataChannel(std::shared_ptr<LibwebrtcEngine> engine, std::string label,
                                           std::shared_ptr<LibwebrtcChannelCore> core)
    : engine_(std::move(engine)), label_(std::move(label)), core_(std::move(core)) {}

LibwebrtcDataChannel::~LibwebrtcDataChannel() {
  core_->setObserver({});
  engine_->signaling().post([core = core_] { core->disconnect(); });
}

bool LibwebrtcDataChannel::send(std::span<const std::byte> message) {
  if (!core_->reserve(message.size())) return false;
  rtc::CopyOnWriteBuffer copy(reinterpret_cast<const std::uint8_t*>(message.data()), message.size());
  engine_->signaling().dispatch([core = core_, copy = std::move(copy)] { core->send(copy); });
  return true;
}

void LibwebrtcDataChannel::setObserver(std::weak_ptr<Observer> observer) {
  core_->setObserver(std::move(observer));
  engine_->signaling().post([core = core_] { core->deliverEarly(); });
}

void LibwebrtcDataChannel::close() {
  core_->closeSoon();
  engine_->signaling().post([core = core_] { core->close(); });
}

}  // namespace tevanto
