#include "platform/macos/application/AppKitApplication.h"

#import <AppKit/AppKit.h>

#include <functional>
#include <utility>

/// Takes the Apple event that the Finder and the Dock send instead of starting the application twice. The
/// application's delegate is the toolkit's, which keeps it to itself.
@interface TevantoReopenHandler : NSObject
- (instancetype)initWithHandler:(std::function<void()>)handler;
- (void)start;
- (void)listen;
- (void)stop;
@end

@implementation TevantoReopenHandler {
  std::function<void()> _handler;
}

- (instancetype)initWithHandler:(std::function<void()>)handler {
  if ((self = [super init])) _handler = std::move(handler);
  return self;
}

/// AppKit puts its own handlers in place while the application finishes launching; the last one counts.
- (void)start {
  [self listen];
  [NSNotificationCenter.defaultCenter addObserver:self
                                         selector:@selector(listen)
                                             name:NSApplicationWillFinishLaunchingNotification
                                           object:nil];
}

- (void)listen {
  [NSAppleEventManager.sharedAppleEventManager setEventHandler:self
                                                   andSelector:@selector(reopen:reply:)
                                                 forEventClass:kCoreEventClass
                                                    andEventID:kAEReopenApplication];
}

- (void)stop {
  [NSNotificationCenter.defaultCenter removeObserver:self];
  [NSAppleEventManager.sharedAppleEventManager removeEventHandlerForEventClass:kCoreEventClass
                                                                    andEventID:kAEReopenApplication];
  _handler = nullptr;
}

- (void)reopen:(NSAppleEventDescriptor*)event reply:(NSAppleEventDescriptor*)reply {
  (void)event;
  (void)reply;
  if (_handler) _handler();
}

@end

namespace tevanto {

struct AppKitApplication::Core {
  TevantoReopenHandler* handler;
};

AppKitApplication::AppKitApplication(std::function<void()> onReopen) : core_(std::make_unique<Core>()) {
  core_->handler = [[TevantoReopenHandler alloc] initWithHandler:std::move(onReopen)];
  [core_->handler start];
}

AppKitApplication::~AppKitApplication() { [core_->handler stop]; }

void AppKitApplication::becomeRegular() {
  [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyRegular];
}

void AppKitApplication::becomeAccessory() {
  [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory];
}

void AppKitApplication::activateIgnoringOtherApps() {
  [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
}

}  // namespace tevanto
