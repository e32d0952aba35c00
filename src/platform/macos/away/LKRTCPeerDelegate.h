#pragma once

#include <memory>

#include "platform/macos/away/LKRTCFramework.h"
#include "platform/macos/values/network/PeerCallbacks.h"

/// What the engine tells of a peer, on threads of its own; goes on to the callbacks.
@interface TevantoPeerDelegate : NSObject <LKRTCPeerConnectionDelegate>
- (instancetype)initWithCallbacks:(std::shared_ptr<tevanto::PeerCallbacks>)callbacks;
@end
