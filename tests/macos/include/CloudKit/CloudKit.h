#pragma once

#include <Foundation/Foundation.h>

@class CKRecord;

typedef NS_ENUM(NSInteger, CKAccountStatus) {  // SINCE(10.10, "CKAccountStatus")
  CKAccountStatusAvailable SINCE(10.10, "CKAccountStatus.available") = 1,
  CKAccountStatusTemporarilyUnavailable SINCE(12.0, "CKAccountStatus.temporarilyUnavailable") = 4
};
typedef NS_ENUM(NSInteger, CKErrorCode) {  // SINCE(10.10, "CKError.Code")
  CKErrorPartialFailure SINCE(10.10, "partialFailure") = 2,
  CKErrorUnknownItem SINCE(10.10, "unknownItem") = 11
};
typedef NS_ENUM(NSInteger, CKRecordSavePolicy) {  // SINCE(10.10, "CKModifyRecordsOperation.RecordSavePolicy")
  CKRecordSaveAllKeys SINCE(10.10, "allKeys") = 2
};
extern "C" {
extern NSString* const CKErrorRetryAfterKey SINCE(10.10, "CKErrorRetryAfterKey");
extern NSString* const CKPartialErrorsByItemIDKey SINCE(10.10, "CKPartialErrorsByItemIDKey");
}

typedef NSString* CKRecordType SINCE(10.10, "CKRecord.RecordType");
typedef NSString* CKRecordFieldKey SINCE(10.10, "CKRecord.FieldKey");

SINCE(10.10, "CKRecordValue")
@protocol CKRecordValue <NSObject>
@end
SINCE(10.10, "CKRecordValue")
@interface NSString (CKRecordValue) <CKRecordValue>
@end
SINCE(10.10, "CKRecordValue")
@interface NSDate (CKRecordValue) <CKRecordValue>
@end

SINCE(10.10, "CKRecord.ID")
@interface CKRecordID : NSObject
- (instancetype)initWithRecordName:(NSString*)recordName SINCE(10.10, "init(recordName:)");
@property(nonatomic, readonly, strong) NSString* recordName SINCE(10.10, "recordName");
@end

SINCE(10.10, "CKRecord")
@interface CKRecord : NSObject
- (instancetype)initWithRecordType:(CKRecordType)recordType recordID:(CKRecordID*)recordID SINCE(10.10, "init(recordType:recordID:)");
- (id)objectForKeyedSubscript:(CKRecordFieldKey)key SINCE(10.10, "objectForKeyedSubscript:");
- (void)setObject:(id<CKRecordValue>)object forKeyedSubscript:(CKRecordFieldKey)key SINCE(10.10, "setObject:forKeyedSubscript:");
@property(nonatomic, readonly, copy) NSDate* creationDate SINCE(10.10, "creationDate");
@end

SINCE(10.13, "CKOperation.Configuration")
@interface CKOperationConfiguration : NSObject
@property(nonatomic) NSQualityOfService qualityOfService SINCE(10.13, "qualityOfService");
@property(nonatomic) NSTimeInterval timeoutIntervalForRequest SINCE(10.13, "timeoutIntervalForRequest");
@property(nonatomic) NSTimeInterval timeoutIntervalForResource SINCE(10.13, "timeoutIntervalForResource");
@end

SINCE(10.10, "CKOperation")
@interface CKOperation : NSOperation
@property(nonatomic, copy) CKOperationConfiguration* configuration SINCE(10.13, "configuration");
@end

SINCE(10.10, "CKDatabaseOperation")
@interface CKDatabaseOperation : CKOperation
@end

SINCE(10.10, "CKFetchRecordsOperation")
@interface CKFetchRecordsOperation : CKDatabaseOperation
- (instancetype)initWithRecordIDs:(NSArray<CKRecordID*>*)recordIDs SINCE(10.10, "init(recordIDs:)");
@property(nonatomic, copy) void (^fetchRecordsCompletionBlock)(NSDictionary<CKRecordID*, CKRecord*>* recordsByRecordID, NSError* operationError) SINCE(10.10, "fetchRecordsCompletionBlock");
@end

SINCE(10.10, "CKModifyRecordsOperation")
@interface CKModifyRecordsOperation : CKDatabaseOperation
- (instancetype)initWithRecordsToSave:(NSArray<CKRecord*>*)records recordIDsToDelete:(NSArray<CKRecordID*>*)recordIDs SINCE(10.10, "init(recordsToSave:recordIDsToDelete:)");
@property(nonatomic, assign) CKRecordSavePolicy savePolicy SINCE(10.10, "savePolicy");
@property(nonatomic, copy) void (^modifyRecordsCompletionBlock)(NSArray<CKRecord*>* savedRecords, NSArray<CKRecordID*>* deletedRecordIDs, NSError* operationError) SINCE(10.10, "modifyRecordsCompletionBlock");
@end

SINCE(10.10, "CKDatabase")
@interface CKDatabase : NSObject
- (void)addOperation:(CKDatabaseOperation*)operation SINCE(10.10, "add(_:)");
@end

SINCE(10.10, "CKContainer")
@interface CKContainer : NSObject
+ (CKContainer*)containerWithIdentifier:(NSString*)containerIdentifier SINCE(10.10, "init(identifier:)");
- (void)accountStatusWithCompletionHandler:(void (^)(CKAccountStatus accountStatus, NSError* error))completionHandler SINCE(10.10, "accountStatus(completionHandler:)");
@property(nonatomic, readonly, strong) CKDatabase* publicCloudDatabase SINCE(10.10, "publicCloudDatabase");
@end
