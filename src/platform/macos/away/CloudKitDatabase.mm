#include "platform/macos/away/CloudKitDatabase.h"

#import <CloudKit/CloudKit.h>

#include <mutex>
#include <utility>

#include "platform/macos/foundation/Entitlements.h"
#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/network/CloudRecordFields.h"

static_assert(CKErrorPartialFailure == 2 && CKErrorUnknownItem == tevanto::CloudError::kUnknownItem &&
                  CKAccountStatusAvailable == 1 && CKAccountStatusTemporarilyUnavailable == 4,
              "the portable translation knows these numbers");

namespace tevanto {
namespace {

// Somebody waits for the first; neither may hold up the next look or write for long.
constexpr NSTimeInterval kUserInitiatedTimeout = 20;
constexpr NSTimeInterval kUtilityTimeout = 60;

const CloudError kNoSuchRecord{"CKErrorDomain", CloudError::kUnknownItem, std::nullopt, {}};

CKRecordID* recordIDOf(const std::string& name) {
  return [[CKRecordID alloc] initWithRecordName:foundationText(name)];
}

CKRecord* systemRecord(const CloudRecord& record) {
  CKRecord* const made = [[CKRecord alloc] initWithRecordType:foundationText(kCloudRecordType)
                                                     recordID:recordIDOf(record.name)];
  const auto fields = fieldsOf(record);
  for (const auto& [key, text] : fields.texts) made[foundationText(key)] = foundationText(text);
  if (fields.created) made[@(kCloudCreatedField)] = [NSDate dateWithTimeIntervalSince1970:*fields.created];
  return made;
}

std::optional<std::string> textField(CKRecord* record, const char* key) {
  const id value = record[@(key)];
  if (![value isKindOfClass:[NSString class]]) return std::nullopt;
  return utf8Text((NSString*)value);
}

std::optional<double> secondsOf(id date) {
  if (![date isKindOfClass:[NSDate class]]) return std::nullopt;
  return [(NSDate*)date timeIntervalSince1970];
}

CloudRecord recordOf(const std::string& name, CKRecord* record) {
  return cloudRecordOf(
      name, [record](const char* key) { return textField(record, key); },
      secondsOf(record[@(kCloudCreatedField)]), secondsOf(record.creationDate));
}

CloudError cloudErrorOf(NSError* error) {
  CloudError result{utf8Text(error.domain).value_or(""), static_cast<int>(error.code), std::nullopt, {}};
  const id retryAfter = error.userInfo[CKErrorRetryAfterKey];
  if ([retryAfter isKindOfClass:[NSNumber class]]) result.retryAfter = [(NSNumber*)retryAfter doubleValue];
  const id partial = error.userInfo[CKPartialErrorsByItemIDKey];
  if (![partial isKindOfClass:[NSDictionary class]]) return result;
  for (id item in (NSDictionary*)partial) {
    const bool isRecord = [item isKindOfClass:[CKRecordID class]];
    NSString* const name = isRecord ? ((CKRecordID*)item).recordName : [item description];
    result.partial.emplace_back(utf8Text(name).value_or(""), cloudErrorOf(((NSDictionary*)partial)[item]));
  }
  return result;
}

void setUrgency(CKOperation* operation, CloudUrgency urgency) {
  const bool isUrgent = urgency == CloudUrgency::userInitiated;
  CKOperationConfiguration* const configuration = [[CKOperationConfiguration alloc] init];
  configuration.qualityOfService = isUrgent ? NSQualityOfServiceUserInitiated : NSQualityOfServiceUtility;
  const NSTimeInterval timeout = isUrgent ? kUserInitiatedTimeout : kUtilityTimeout;
  configuration.timeoutIntervalForRequest = timeout;
  configuration.timeoutIntervalForResource = timeout;
  operation.configuration = configuration;
}

}  // namespace

struct CloudKitDatabase::Core {
  explicit Core(const std::string& identifier)
      : container([CKContainer containerWithIdentifier:foundationText(identifier)]),
        database(container.publicCloudDatabase) {}

  /// After the last write of the same record: operations may overtake one another.
  void write(CKModifyRecordsOperation* operation, const std::string& recordName) {
    NSString* const name = foundationText(recordName);
    const std::lock_guard lock(mutex);
    if (NSOperation* const last = [lastWrites objectForKey:name]) [operation addDependency:last];
    [lastWrites setObject:operation forKey:name];
    [database addOperation:operation];
  }

  CKContainer* const container;
  CKDatabase* const database;
  std::mutex mutex;
  NSMapTable<NSString*, NSOperation*>* const lastWrites = [NSMapTable strongToWeakObjectsMapTable];
};

bool CloudKitDatabase::isAvailable() { return isEntitled(@"com.apple.developer.icloud-services"); }

CloudKitDatabase::CloudKitDatabase(const std::string& container) : core_(std::make_unique<Core>(container)) {}

CloudKitDatabase::~CloudKitDatabase() = default;

void CloudKitDatabase::accountStatus(std::function<void(CloudAccountStatus)> done) {
  @autoreleasepool {
    [core_->container accountStatusWithCompletionHandler:^(CKAccountStatus status, NSError* error) {
      done(error ? CloudAccountStatus::couldNotDetermine : cloudAccountStatusOf(status));
    }];
  }
}

void CloudKitDatabase::fetch(const std::string& recordName,
                             std::function<void(CloudOutcome<CloudRecord>)> done) {
  @autoreleasepool {
    CKRecordID* const identifier = recordIDOf(recordName);
    const auto name = recordName;
    CKFetchRecordsOperation* const operation =
        [[CKFetchRecordsOperation alloc] initWithRecordIDs:@[ identifier ]];
    setUrgency(operation, CloudUrgency::userInitiated);
    operation.fetchRecordsCompletionBlock = ^(NSDictionary<CKRecordID*, CKRecord*>* records, NSError* error) {
      if (CKRecord* const record = records[identifier]) return done({recordOf(name, record), {}});
      if (!error) return done({std::nullopt, kNoSuchRecord});
      done({std::nullopt, errorOfOne(cloudErrorOf(error))});
    };
    [core_->database addOperation:operation];
  }
}

void CloudKitDatabase::save(const CloudRecord& record, CloudUrgency urgency,
                            std::function<void(std::optional<CloudError>)> done) {
  @autoreleasepool {
    CKModifyRecordsOperation* const operation =
        [[CKModifyRecordsOperation alloc] initWithRecordsToSave:@[ systemRecord(record) ]
                                              recordIDsToDelete:nil];
    operation.savePolicy = CKRecordSaveAllKeys;
    setUrgency(operation, urgency);
    operation.modifyRecordsCompletionBlock = ^(NSArray<CKRecord*>*, NSArray<CKRecordID*>*, NSError* error) {
      done(error ? std::optional(cloudErrorOf(error)) : std::nullopt);
    };
    core_->write(operation, record.name);
  }
}

void CloudKitDatabase::remove(const std::string& recordName, CloudUrgency urgency,
                              std::function<void(std::optional<CloudError>)> done) {
  @autoreleasepool {
    CKModifyRecordsOperation* const operation =
        [[CKModifyRecordsOperation alloc] initWithRecordsToSave:nil
                                              recordIDsToDelete:@[ recordIDOf(recordName) ]];
    setUrgency(operation, urgency);
    operation.modifyRecordsCompletionBlock = ^(NSArray<CKRecord*>*, NSArray<CKRecordID*>*, NSError* error) {
      done(error ? removalError(cloudErrorOf(error)) : std::nullopt);
    };
    core_->write(operation, recordName);
  }
}

}  // namespace tevanto
