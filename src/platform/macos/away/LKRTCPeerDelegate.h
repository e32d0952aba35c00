#pragma once

#include <memory>

#include "platform/macos/away/LKRTCFramework.h"
#include "platform/macos/values/network/PeerCallbacks.h"

/// TevantoPeerDelegate passes the engine's events of a peer on to its callbacks. On threads of the engine.
@interface TevantoPeerDelegate : NSObject <LKRTCPeerConnectionDelegate>
- (instancetype)initWithCallbacks:(std::shared_ptr<tevanto::PeerCallbacks>)callbacks;
@end
