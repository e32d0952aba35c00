#include "platform/macos/application/AppKitStatusItem.h"

#import <AppKit/AppKit.h>

#include <utility>

#include "platform/macos/values/system/MenuBarGeometry.h"

@interface TevantoStatusItemTarget : NSObject
- (instancetype)initWithHandler:(std::function<void()>)handler;
- (void)clicked:(id)sender;
@end

@implementation TevantoStatusItemTarget {
  std::function<void()> _handler;
}

- (instancetype)initWithHandler:(std::function<void()>)handler {
  if ((self = [super init])) _handler = std::move(handler);
  return self;
}

- (void)clicked:(id)sender {
  (void)sender;
  _handler();
}

@end

namespace tevanto {

struct AppKitStatusItem::Core {
  AppKitStatusItem::Frame frame() const {
    const NSRect inScreen = item.button.window.frame;
    // The first screen is the one with the origin, whichever has the keyboard.
    const CGFloat height = NSScreen.screens.firstObject.frame.size.height;
    return {inScreen.origin.x, topLeftY(inScreen.origin.y, inScreen.size.height, height), inScreen.size.width,
            inScreen.size.height};
  }

  NSStatusItem* item;
  TevantoStatusItemTarget* target;
};

AppKitStatusItem::AppKitStatusItem(std::function<void(Frame)> onClick) : core_(std::make_unique<Core>()) {
  auto& parts = *core_;
  parts.item = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
  parts.target = [[TevantoStatusItemTarget alloc]
      initWithHandler:[&parts, onClick = std::move(onClick)] { onClick(parts.frame()); }];
  parts.item.button.target = parts.target;
  parts.item.button.action = @selector(clicked:);
  showConnected(false);
}

AppKitStatusItem::~AppKitStatusItem() {
  core_->item.button.target = nil;
  [NSStatusBar.systemStatusBar removeStatusItem:core_->item];
}

void AppKitStatusItem::showConnected(bool isConnected) {
  NSString* symbol = isConnected ? @"iphone.radiowaves.left.and.right" : @"iphone";
  NSImage* image = [NSImage imageWithSystemSymbolName:symbol accessibilityDescription:@"Tevanto"];
  [image setTemplate:YES];
  core_->item.button.image = image;
}

}  // namespace tevanto
