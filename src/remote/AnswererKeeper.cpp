#include "remote/AnswererKeeper.h"

#include <algorithm>
#include <utility>

namespace tevanto {

AnswererKeeper::AnswererKeeper(std::shared_ptr<SerialQueue> mainQueue, AnswererFactory makeAnswerer,
                               Callbacks callbacks)
    : QueueBound(std::move(mainQueue)),
      makeAnswerer_(std::move(makeAnswerer)),
      callbacks_(std::move(callbacks)) {}

void AnswererKeeper::start(const std::string& room) {
  if (!makeAnswerer_ || webRTCAnswerer_.channel) return;
  restart_.cancel();
  room_ = room;
  webRTCAnswerer_ = makeAnswerer_(room_);
  if (!webRTCAnswerer_.channel) return restartLater();
  if (const auto screen = screen_.lock()) screen->attach(webRTCAnswerer_.screen);
  listenTo(webRTCAnswerer_.channel);
  replaceWhenAged(webRTCAnswerer_);
  if (const auto begin = webRTCAnswerer_.start) begin();
}

void AnswererKeeper::listenTo(const std::shared_ptr<MessageChannel>& channel) {
  const std::weak_ptr<MessageChannel> weakChannel = channel;
  channel->onChannelState = weakCall([weakChannel](AnswererKeeper& self, ChannelState state) {
    if (const auto sender = weakChannel.lock()) self.channelChanged(sender, state);
  });
  channel->onMessage = weakCall([weakChannel](AnswererKeeper& self, RemoteMessage message) {
    if (self.webRTCAnswerer_.channel == weakChannel.lock()) self.callbacks_.onMessage(std::move(message));
  });
}

void AnswererKeeper::replaceWhenAged(const Answerer& answerer) {
  if (!answerer.whenAged) return;
  answerer.whenAged(weakCall([weakChannel = std::weak_ptr(answerer.channel)](AnswererKeeper& self) {
    const auto& current = self.webRTCAnswerer_.channel;
    if (!current || current != weakChannel.lock()) return;
    self.closeAnswerer();
    self.start(self.room_);
  }));
}

void AnswererKeeper::channelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state) {
  if (channel != webRTCAnswerer_.channel) return;
  if (state == ChannelState::failed) return failed();
  if (state == ChannelState::ready) webRTCRestartDelay_ = kFirstRestartDelay;
  callbacks_.onChannelState(channel, state);
}

void AnswererKeeper::close(const std::shared_ptr<MessageChannel>& channel) {
  if (channel && channel == webRTCAnswerer_.channel) failed();
}

void AnswererKeeper::failed() {
  const auto channel = webRTCAnswerer_.channel;
  closeAnswerer();
  restartLater();
  callbacks_.onChannelState(channel, ChannelState::failed);
}

void AnswererKeeper::closeAnswerer() {
  auto answerer = std::exchange(webRTCAnswerer_, {});
  if (!answerer.channel) return;
  if (const auto screen = screen_.lock()) screen->detach(answerer.screen);
  answerer.channel->close();
  // This may run in one of its own callbacks: it goes when that has returned.
  queue()->async([answerer = std::move(answerer)] {});
}

void AnswererKeeper::restartLater() {
  const auto delay = webRTCRestartDelay_;
  webRTCRestartDelay_ = std::min(2 * delay, kLongestRestartDelay);
  restart_ = queue()->asyncAfter(delay, weakCall([](AnswererKeeper& self) { self.start(self.room_); }));
}

void AnswererKeeper::stop() {
  restart_.cancel();
  webRTCRestartDelay_ = kFirstRestartDelay;
  closeAnswerer();
}

}  // namespace tevanto
