#pragma once

// The Objective-C interface of WebRTC, with LKRTC before its names in place of RTC; not macOS's own, but a framework that
// the program brings along. It asks for macOS 10.15 at most. The pages are those of its interface's reference.

#include <Foundation/Foundation.h>

@class LKRTCDataChannel;
@class LKRTCMediaStream;  // SINCE(10.15, "WebRTC: RTCMediaStream")
@class LKRTCPeerConnection;

typedef NS_ENUM(NSInteger, LKRTCIceConnectionState) {  // SINCE(10.15, "WebRTC: RTCIceConnectionState")
  LKRTCIceConnectionStateNew = 0,
  LKRTCIceConnectionStateFailed = 4,
  LKRTCIceConnectionStateClosed = 6,
  LKRTCIceConnectionStateCount = 7
};
typedef NS_ENUM(NSInteger, LKRTCIceGatheringState) {  // SINCE(10.15, "WebRTC: RTCIceGatheringState")
  LKRTCIceGatheringStateNew = 0,
  LKRTCIceGatheringStateGathering = 1
};
typedef enum LKRTCSignalingState : NSInteger LKRTCSignalingState SINCE(10.15, "WebRTC: RTCSignalingState");
typedef NS_ENUM(NSInteger, LKRTCDataChannelState) {  // SINCE(10.15, "WebRTC: RTCDataChannelState")
  LKRTCDataChannelStateConnecting,
  LKRTCDataChannelStateOpen,
  LKRTCDataChannelStateClosing,
  LKRTCDataChannelStateClosed
};
typedef NS_ENUM(NSInteger, LKRTCSdpType) {  // SINCE(10.15, "WebRTC: RTCSdpType")
  LKRTCSdpTypeOffer = 0,
  LKRTCSdpTypeAnswer = 2
};
typedef NS_ENUM(NSInteger, LKRTCContinualGatheringPolicy) {  // SINCE(10.15, "WebRTC: RTCContinualGatheringPolicy")
  LKRTCContinualGatheringPolicyGatherContinually = 1
};
typedef NS_ENUM(NSInteger, LKRTCSdpSemantics) {  // SINCE(10.15, "WebRTC: RTCSdpSemantics")
  LKRTCSdpSemanticsUnifiedPlan = 1
};

SINCE(10.15, "WebRTC: RTCIceServer")
@interface LKRTCIceServer : NSObject
- (instancetype)initWithURLStrings:(NSArray<NSString*>*)urlStrings SINCE(10.15, "WebRTC: RTCIceServer");
- (instancetype)initWithURLStrings:(NSArray<NSString*>*)urlStrings username:(NSString*)username credential:(NSString*)credential SINCE(10.15, "WebRTC: RTCIceServer");
@end

SINCE(10.15, "WebRTC: RTCConfiguration")
@interface LKRTCConfiguration : NSObject
@property(nonatomic, copy) NSArray<LKRTCIceServer*>* iceServers SINCE(10.15, "WebRTC: RTCConfiguration");
@property(nonatomic, assign) LKRTCContinualGatheringPolicy continualGatheringPolicy SINCE(10.15, "WebRTC: RTCConfiguration");
@property(nonatomic, assign) LKRTCSdpSemantics sdpSemantics SINCE(10.15, "WebRTC: RTCConfiguration");
@end

SINCE(10.15, "WebRTC: RTCMediaConstraints")
@interface LKRTCMediaConstraints : NSObject
- (instancetype)initWithMandatoryConstraints:(NSDictionary<NSString*, NSString*>*)mandatory optionalConstraints:(NSDictionary<NSString*, NSString*>*)optional SINCE(10.15, "WebRTC: RTCMediaConstraints");
@end

SINCE(10.15, "WebRTC: RTCSessionDescription")
@interface LKRTCSessionDescription : NSObject
@property(nonatomic, readonly) NSString* sdp SINCE(10.15, "WebRTC: RTCSessionDescription");
- (instancetype)initWithType:(LKRTCSdpType)type sdp:(NSString*)sdp SINCE(10.15, "WebRTC: RTCSessionDescription");
@end

SINCE(10.15, "WebRTC: RTCIceCandidate")
@interface LKRTCIceCandidate : NSObject
@property(nonatomic, readonly) NSString* sdpMid SINCE(10.15, "WebRTC: RTCIceCandidate");
@property(nonatomic, readonly) int sdpMLineIndex SINCE(10.15, "WebRTC: RTCIceCandidate");
@property(nonatomic, readonly) NSString* sdp SINCE(10.15, "WebRTC: RTCIceCandidate");
- (instancetype)initWithSdp:(NSString*)sdp sdpMLineIndex:(int)sdpMLineIndex sdpMid:(NSString*)sdpMid SINCE(10.15, "WebRTC: RTCIceCandidate");
@end

SINCE(10.15, "WebRTC: RTCStatistics")
@interface LKRTCStatistics : NSObject
@property(nonatomic, readonly) NSString* id SINCE(10.15, "WebRTC: RTCStatistics");
@property(nonatomic, readonly) NSString* type SINCE(10.15, "WebRTC: RTCStatistics");
@property(nonatomic, readonly) NSDictionary<NSString*, NSObject*>* values SINCE(10.15, "WebRTC: RTCStatistics");
@end

SINCE(10.15, "WebRTC: RTCStatisticsReport")
@interface LKRTCStatisticsReport : NSObject
@property(nonatomic, readonly) NSDictionary<NSString*, LKRTCStatistics*>* statistics SINCE(10.15, "WebRTC: RTCStatisticsReport");
@end

SINCE(10.15, "WebRTC: RTCDataBuffer")
@interface LKRTCDataBuffer : NSObject
@property(nonatomic, readonly) NSData* data SINCE(10.15, "WebRTC: RTCDataBuffer");
- (instancetype)initWithData:(NSData*)data isBinary:(BOOL)isBinary SINCE(10.15, "WebRTC: RTCDataBuffer");
@end

SINCE(10.15, "WebRTC: RTCDataChannelConfiguration")
@interface LKRTCDataChannelConfiguration : NSObject
@property(nonatomic, assign) BOOL isOrdered SINCE(10.15, "WebRTC: RTCDataChannelConfiguration");
@property(nonatomic, assign) int maxRetransmits SINCE(10.15, "WebRTC: RTCDataChannelConfiguration");
@end

SINCE(10.15, "WebRTC: RTCDataChannelDelegate")
@protocol LKRTCDataChannelDelegate <NSObject>
- (void)dataChannelDidChangeState:(LKRTCDataChannel*)dataChannel SINCE(10.15, "WebRTC: RTCDataChannelDelegate");
- (void)dataChannel:(LKRTCDataChannel*)dataChannel didReceiveMessageWithBuffer:(LKRTCDataBuffer*)buffer SINCE(10.15, "WebRTC: RTCDataChannelDelegate");
@end

SINCE(10.15, "WebRTC: RTCDataChannel")
@interface LKRTCDataChannel : NSObject
@property(nonatomic, readonly) NSString* label SINCE(10.15, "WebRTC: RTCDataChannel");
@property(nonatomic, readonly) LKRTCDataChannelState readyState SINCE(10.15, "WebRTC: RTCDataChannel");
@property(nonatomic, readonly) uint64_t bufferedAmount SINCE(10.15, "WebRTC: RTCDataChannel");
@property(nonatomic, weak) id<LKRTCDataChannelDelegate> delegate SINCE(10.15, "WebRTC: RTCDataChannel");
- (BOOL)sendData:(LKRTCDataBuffer*)data SINCE(10.15, "WebRTC: RTCDataChannel");
- (void)close SINCE(10.15, "WebRTC: RTCDataChannel");
@end

SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate")
@protocol LKRTCPeerConnectionDelegate <NSObject>
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didChangeSignalingState:(LKRTCSignalingState)stateChanged SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didAddStream:(LKRTCMediaStream*)stream SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didRemoveStream:(LKRTCMediaStream*)stream SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnectionShouldNegotiate:(LKRTCPeerConnection*)peerConnection SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didChangeIceConnectionState:(LKRTCIceConnectionState)newState SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didChangeIceGatheringState:(LKRTCIceGatheringState)newState SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didGenerateIceCandidate:(LKRTCIceCandidate*)candidate SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didRemoveIceCandidates:(NSArray<LKRTCIceCandidate*>*)candidates SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didOpenDataChannel:(LKRTCDataChannel*)dataChannel SINCE(10.15, "WebRTC: RTCPeerConnectionDelegate");
@end

SINCE(10.15, "WebRTC: RTCPeerConnection")
@interface LKRTCPeerConnection : NSObject
- (void)offerForConstraints:(LKRTCMediaConstraints*)constraints completionHandler:(void (^)(LKRTCSessionDescription* sdp, NSError* error))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)answerForConstraints:(LKRTCMediaConstraints*)constraints completionHandler:(void (^)(LKRTCSessionDescription* sdp, NSError* error))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)setLocalDescription:(LKRTCSessionDescription*)sdp completionHandler:(void (^)(NSError* error))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)setRemoteDescription:(LKRTCSessionDescription*)sdp completionHandler:(void (^)(NSError* error))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)addIceCandidate:(LKRTCIceCandidate*)candidate completionHandler:(void (^)(NSError* error))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (LKRTCDataChannel*)dataChannelForLabel:(NSString*)label configuration:(LKRTCDataChannelConfiguration*)configuration SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)statisticsWithCompletionHandler:(void (^)(LKRTCStatisticsReport* report))completionHandler SINCE(10.15, "WebRTC: RTCPeerConnection");
- (void)close SINCE(10.15, "WebRTC: RTCPeerConnection");
@end

SINCE(10.15, "WebRTC: RTCVideoEncoderFactory")
@protocol LKRTCVideoEncoderFactory <NSObject>
@end
SINCE(10.15, "WebRTC: RTCVideoDecoderFactory")
@protocol LKRTCVideoDecoderFactory <NSObject>
@end
SINCE(10.15, "WebRTC: RTCDefaultVideoEncoderFactory")
@interface LKRTCDefaultVideoEncoderFactory : NSObject <LKRTCVideoEncoderFactory>
@end
SINCE(10.15, "WebRTC: RTCDefaultVideoDecoderFactory")
@interface LKRTCDefaultVideoDecoderFactory : NSObject <LKRTCVideoDecoderFactory>
@end

SINCE(10.15, "WebRTC: RTCPeerConnectionFactoryOptions")
@interface LKRTCPeerConnectionFactoryOptions : NSObject
@property(nonatomic, assign) BOOL ignoreLoopbackNetworkAdapter SINCE(10.15, "WebRTC: RTCPeerConnectionFactoryOptions");
@end

SINCE(10.15, "WebRTC: RTCPeerConnectionFactory")
@interface LKRTCPeerConnectionFactory : NSObject
- (instancetype)initWithEncoderFactory:(id<LKRTCVideoEncoderFactory>)encoderFactory decoderFactory:(id<LKRTCVideoDecoderFactory>)decoderFactory SINCE(10.15, "WebRTC: RTCPeerConnectionFactory");
- (LKRTCPeerConnection*)peerConnectionWithConfiguration:(LKRTCConfiguration*)configuration constraints:(LKRTCMediaConstraints*)constraints delegate:(id<LKRTCPeerConnectionDelegate>)delegate SINCE(10.15, "WebRTC: RTCPeerConnectionFactory");
- (void)setOptions:(LKRTCPeerConnectionFactoryOptions*)options SINCE(10.15, "WebRTC: RTCPeerConnectionFactory");
@end
