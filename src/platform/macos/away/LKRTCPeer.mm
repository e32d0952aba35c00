#include "platform/macos/away/LKRTCPeer.h"

#include <utility>

#include "platform/macos/away/LKRTCChannel.h"
#include "platform/macos/away/LKRTCPeerDelegate.h"
#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/foundation/SystemError.h"
#include "platform/macos/values/network/RouteStatistics.h"

namespace tevanto {
namespace {

LKRTCMediaConstraints* noConstraints() {
  return [[LKRTCMediaConstraints alloc] initWithMandatoryConstraints:@{} optionalConstraints:@{}];
}

LKRTCSessionDescription* engineDescription(const SessionDescription& description) {
  const auto type = description.type == SdpType::offer ? LKRTCSdpTypeOffer : LKRTCSdpTypeAnswer;
  return [[LKRTCSessionDescription alloc] initWithType:type sdp:foundationText(description.sdp)];
}

/// The completion that the engine wants, which brings its outcome to the queue.
void (^completion(std::shared_ptr<PeerCallbacks> callbacks, PeerConnection::DescriptionHandler done,
                  SdpType type))(LKRTCSessionDescription*, NSError*) {
  return ^(LKRTCSessionDescription* made, NSError* error) {
    Result<SessionDescription> result = failureOf("The engine makes no description", error);
    if (made) result = SessionDescription{type, utf8Text(made.sdp).value_or("")};
    callbacks->report([done, result = std::move(result)] { done(result); });
  };
}

void (^completion(std::shared_ptr<PeerCallbacks> callbacks, PeerConnection::DoneHandler done))(NSError*) {
  return ^(NSError* error) {
    callbacks->report(
        [done, result = resultOf("The engine refuses the description", error)] { done(result); });
  };
}

template <class T>
T* of(id value) {
  return [value isKindOfClass:[T class]] ? value : nil;
}

StatisticsEntry entryOf(LKRTCStatistics* statistics) {
  NSDictionary<NSString*, NSObject*>* const values = statistics.values;
  return {.id = utf8Text(statistics.id).value_or(""),
          .type = utf8Text(statistics.type).value_or(""),
          .text = [values](const char* member) { return utf8Text(of<NSString>(values[@(member)])); },
          .flag = [values](const char* member) -> std::optional<bool> {
            NSNumber* const number = of<NSNumber>(values[@(member)]);
            if (!number) return std::nullopt;
            return number.boolValue;
          }};
}

RouteReport routeReportOf(LKRTCStatisticsReport* report) {
  RouteReport made;
  NSDictionary<NSString*, LKRTCStatistics*>* const all = report.statistics;
  for (NSString* identifier in all) add(made, entryOf(all[identifier]));
  return made;
}

}  // namespace

std::shared_ptr<LKRTCPeer> LKRTCPeer::create(LKRTCPeerConnectionFactory* factory,
                                             LKRTCConfiguration* configuration,
                                             std::shared_ptr<PeerCallbacks> callbacks) {
  TevantoPeerDelegate* const delegate = [[TevantoPeerDelegate alloc] initWithCallbacks:callbacks];
  LKRTCPeerConnection* const connection = [factory peerConnectionWithConfiguration:configuration
                                                                       constraints:noConstraints()
                                                                          delegate:delegate];
  if (!connection) return nullptr;
  return std::make_shared<LKRTCPeer>(connection, delegate, std::move(callbacks));
}

LKRTCPeer::LKRTCPeer(LKRTCPeerConnection* connection, id delegate, std::shared_ptr<PeerCallbacks> callbacks)
    : connection_(connection), delegate_(delegate), callbacks_(std::move(callbacks)) {}

LKRTCPeer::~LKRTCPeer() { close(); }

void LKRTCPeer::createOffer(DescriptionHandler done) {
  @autoreleasepool {
    [connection_ offerForConstraints:noConstraints()
                   completionHandler:completion(callbacks_, std::move(done), SdpType::offer)];
  }
}

void LKRTCPeer::createAnswer(DescriptionHandler done) {
  @autoreleasepool {
    [connection_ answerForConstraints:noConstraints()
                    completionHandler:completion(callbacks_, std::move(done), SdpType::answer)];
  }
}

void LKRTCPeer::setLocalDescription(const SessionDescription& description, DoneHandler done) {
  @autoreleasepool {
    [connection_ setLocalDescription:engineDescription(description)
                   completionHandler:completion(callbacks_, std::move(done))];
  }
}

void LKRTCPeer::setRemoteDescription(const SessionDescription& description, DoneHandler done) {
  @autoreleasepool {
    [connection_ setRemoteDescription:engineDescription(description)
                    completionHandler:completion(callbacks_, std::move(done))];
  }
}

void LKRTCPeer::addCandidate(const IceCandidate& candidate) {
  @autoreleasepool {
    LKRTCIceCandidate* const made = [[LKRTCIceCandidate alloc] initWithSdp:foundationText(candidate.sdp)
                                                             sdpMLineIndex:candidate.sdpMLineIndex
                                                                    sdpMid:foundationText(candidate.sdpMid)];
    [connection_ addIceCandidate:made
               completionHandler:^(NSError*){
               }];
  }
}

std::shared_ptr<DataChannel> LKRTCPeer::createDataChannel(const std::string& label,
                                                          const DataChannelOptions& options) {
  @autoreleasepool {
    LKRTCDataChannelConfiguration* const configuration = [[LKRTCDataChannelConfiguration alloc] init];
    configuration.isOrdered = options.ordered;
    if (options.maxRetransmits) configuration.maxRetransmits = *options.maxRetransmits;
    LKRTCDataChannel* const channel = [connection_ dataChannelForLabel:foundationText(label)
                                                         configuration:configuration];
    if (!channel) return nullptr;
    return LKRTCChannel::adopt(channel, callbacks_->queue());
  }
}

void LKRTCPeer::statistics(StatisticsHandler done) {
  @autoreleasepool {
    const auto callbacks = callbacks_;
    [connection_ statisticsWithCompletionHandler:^(LKRTCStatisticsReport* report) {
      callbacks->report([done, made = routeReportOf(report)] { done(made); });
    }];
  }
}

void LKRTCPeer::close() {
  @autoreleasepool {
    callbacks_->silence();
    [connection_ close];
  }
}

}  // namespace tevanto
