#pragma once

#include <Foundation/Foundation.h>

@class NSPredicate;

SINCE(10.15, "OSLogEntry")
@interface OSLogEntry : NSObject
@property(readonly, copy) NSString* composedMessage SINCE(10.15, "composedMessage");
@end

SINCE(10.15, "OSLogEntryWithPayload")
@protocol OSLogEntryWithPayload
@property(readonly, copy) NSString* subsystem SINCE(10.15, "subsystem");
@property(readonly, copy) NSString* category SINCE(10.15, "category");
@end

SINCE(10.15, "OSLogEntryLog")
@interface OSLogEntryLog : OSLogEntry <OSLogEntryWithPayload>
@end

SINCE(10.15, "OSLogPosition")
@interface OSLogPosition : NSObject
@end

typedef NS_OPTIONS(NSUInteger, OSLogEnumeratorOptions) {};

SINCE(10.15, "OSLogEnumerator")
@interface OSLogEnumerator<ObjectType> : NSObject <NSFastEnumeration>
@end

typedef NS_ENUM(NSInteger, OSLogStoreScope) {
  OSLogStoreCurrentProcessIdentifier SINCE(12.0, "OSLogStore.Scope.currentProcessIdentifier") = 1,
};

SINCE(10.15, "OSLogStore")
@interface OSLogStore : NSObject
+ (instancetype)storeWithScope:(OSLogStoreScope)scope error:(NSError**)error SINCE(12.0, "init(scope:)");
- (OSLogEnumerator<OSLogEntry*>*)entriesEnumeratorWithOptions:(OSLogEnumeratorOptions)options position:(OSLogPosition*)position predicate:(NSPredicate*)predicate error:(NSError**)error SINCE(10.15, "entriesEnumeratorWithOptions:position:predicate:error:");
@end
