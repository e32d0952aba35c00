#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <Foundation/Foundation.h>

SINCE(10.0, "NSWorkspace")
@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace SINCE(10.0, "sharedWorkspace");
- (BOOL)openURL:(NSURL*)url SINCE(10.0, "openURL:");
@end
