#include "platform/macos/application/AppKitMotion.h"

#import <AppKit/AppKit.h>

#include <utility>

@interface TevantoMotionObserver : NSObject
- (instancetype)initWithHandler:(std::function<void(bool)>)handler;
- (void)optionsChanged:(NSNotification*)notification;
@end

@implementation TevantoMotionObserver {
  std::function<void(bool)> _handler;
}

- (instancetype)initWithHandler:(std::function<void(bool)>)handler {
  if ((self = [super init])) _handler = std::move(handler);
  return self;
}

- (void)optionsChanged:(NSNotification*)notification {
  (void)notification;
  _handler(tevanto::AppKitMotion::isReduced());
}

@end

namespace tevanto {

struct AppKitMotion::Core {
  TevantoMotionObserver* observer;
};

AppKitMotion::AppKitMotion(std::function<void(bool)> onChange) : core_(std::make_unique<Core>()) {
  core_->observer = [[TevantoMotionObserver alloc] initWithHandler:std::move(onChange)];
  [NSWorkspace.sharedWorkspace.notificationCenter
      addObserver:core_->observer
         selector:@selector(optionsChanged:)
             name:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
           object:nil];
}

AppKitMotion::~AppKitMotion() {
  [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:core_->observer];
}

bool AppKitMotion::isReduced() { return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion; }

}  // namespace tevanto
