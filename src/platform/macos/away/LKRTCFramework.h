#pragma once

// WebRTC whose class names begin with LKRTC. The name of the framework depends on who packs it.
#if __has_include(<LiveKitWebRTC/LiveKitWebRTC.h>)
#import <LiveKitWebRTC/LiveKitWebRTC.h>
#else
#import <WebRTC/WebRTC.h>
#endif
