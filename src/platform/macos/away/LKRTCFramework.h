#pragma once

// WebRTC with its classes' names beginning with LKRTC; whoever packs the framework names it.
#if __has_include(<LiveKitWebRTC/LiveKitWebRTC.h>)
#import <LiveKitWebRTC/LiveKitWebRTC.h>
#else
#import <WebRTC/WebRTC.h>
#endif
