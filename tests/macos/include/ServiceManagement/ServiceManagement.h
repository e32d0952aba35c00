#pragma once

#include <Foundation/Foundation.h>

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
  SMAppServiceStatusNotRegistered SINCE(13.0, "SMAppServiceStatusNotRegistered") = 0,
  SMAppServiceStatusEnabled SINCE(13.0, "SMAppServiceStatusEnabled") = 1,
  SMAppServiceStatusRequiresApproval SINCE(13.0, "SMAppServiceStatusRequiresApproval") = 2,
  SMAppServiceStatusNotFound SINCE(13.0, "SMAppServiceStatusNotFound") = 3,
};

SINCE(13.0, "SMAppService")
@interface SMAppService : NSObject
@property(class, readonly) SMAppService* mainAppService SINCE(13.0, "mainAppService");
@property(readonly) SMAppServiceStatus status SINCE(13.0, "status");
- (BOOL)registerAndReturnError:(NSError**)error SINCE(13.0, "registerAndReturnError:");
- (BOOL)unregisterAndReturnError:(NSError**)error SINCE(13.0, "unregisterAndReturnError:");
+ (void)openSystemSettingsLoginItems SINCE(13.0, "openSystemSettingsLoginItems");
@end
