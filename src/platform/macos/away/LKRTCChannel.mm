#include "platform/macos/away/LKRTCChannel.h"

#include <utility>
#include <vector>

#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/network/PeerStates.h"

static_assert(LKRTCDataChannelStateConnecting == 0 && LKRTCDataChannelStateOpen == 1 &&
                  LKRTCDataChannelStateClosing == 2 && LKRTCDataChannelStateClosed == 3,
              "the portable translation knows these numbers");

/// What the engine tells of a channel, on threads of its own; goes on to the callbacks.
@interface TevantoChannelDelegate : NSObject <LKRTCDataChannelDelegate>
- (instancetype)initWithCallbacks:(std::shared_ptr<tevanto::ChannelCallbacks>)callbacks;
@end

@implementation TevantoChannelDelegate {
  std::shared_ptr<tevanto::ChannelCallbacks> _callbacks;
}

- (instancetype)initWithCallbacks:(std::shared_ptr<tevanto::ChannelCallbacks>)callbacks {
  self = [super init];
  if (self) _callbacks = std::move(callbacks);
  return self;
}

- (void)dataChannelDidChangeState:(LKRTCDataChannel*)dataChannel {
  _callbacks->stateChanged(tevanto::dataChannelStateOf(dataChannel.readyState));
}

- (void)dataChannel:(LKRTCDataChannel*)dataChannel didReceiveMessageWithBuffer:(LKRTCDataBuffer*)buffer {
  const auto* const bytes = static_cast<const std::byte*>(buffer.data.bytes);
  _callbacks->received(std::vector<std::byte>(bytes, bytes + buffer.data.length));
}

@end

namespace tevanto {

std::shared_ptr<LKRTCChannel> LKRTCChannel::adopt(LKRTCDataChannel* channel,
                                                  std::shared_ptr<SerialQueue> queue) {
  const auto state = dataChannelStateOf(channel.readyState);
  const auto callbacks = std::make_shared<ChannelCallbacks>(std::move(queue), state);
  TevantoChannelDelegate* const delegate = [[TevantoChannelDelegate alloc] initWithCallbacks:callbacks];
  const auto adopted = std::make_shared<LKRTCChannel>(channel, delegate, callbacks);
  callbacks->connect(adopted);
  channel.delegate = delegate;
  // Between the first look and the delegate nobody was told.
  if (const auto now = dataChannelStateOf(channel.readyState); now != state) callbacks->stateChanged(now);
  return adopted;
}

LKRTCChannel::LKRTCChannel(LKRTCDataChannel* channel, id delegate,
                           std::shared_ptr<ChannelCallbacks> callbacks)
    : channel_(channel),
      delegate_(delegate),
      callbacks_(std::move(callbacks)),
      label_(utf8Text(channel.label).value_or("")) {}

LKRTCChannel::~LKRTCChannel() {
  callbacks_->setObserver({});
  close();
}

std::uint64_t LKRTCChannel::bufferedAmount() const { return channel_.bufferedAmount; }

bool LKRTCChannel::send(std::span<const std::byte> message) {
  @autoreleasepool {
    if (state() != DataChannelState::open || !fitsBuffer(bufferedAmount(), message.size())) return false;
    NSData* const data = [NSData dataWithBytes:message.data() length:message.size()];
    return [channel_ sendData:[[LKRTCDataBuffer alloc] initWithData:data isBinary:YES]];
  }
}

void LKRTCChannel::setObserver(std::weak_ptr<Observer> observer) {
  callbacks_->setObserver(std::move(observer));
}

void LKRTCChannel::close() {
  callbacks_->closeSoon();
  @autoreleasepool {
    [channel_ close];
  }
}

}  // namespace tevanto
