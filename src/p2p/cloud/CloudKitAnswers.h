#pragma once

#include <optional>
#include <string>

#include "net/web/HttpClient.h"
#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {

/// The domain of all errors here; the numbers are those of the CKError enumeration.
inline constexpr const char* kCloudKitErrorDomain = "CKErrorDomain";

enum class CloudKitErrorCode {
  partialFailure = 2,
  networkFailure = 4,
  serviceUnavailable = 6,
  requestRateLimited = 7,
  notAuthenticated = 9,
  permissionFailure = 10,
  unknownItem = CloudError::kUnknownItem,
  invalidArguments = 12,
  serverRecordChanged = 14,
  serverRejectedRequest = 15,
  batchRequestFailed = 22,
  quotaExceeded = 25,
  zoneNotFound = 26,
  referenceViolation = 31
};

CloudError cloudKitError(CloudKitErrorCode code);

/// The bodies of requests to "records/lookup" and "records/modify" (CloudKit Web Services, version 1).
std::string cloudLookupBody(const std::string& recordName);
std::string cloudSaveBody(const CloudRecord& record);
std::string cloudRemoveBody(const std::string& recordName);

/// The service's answer about the one record that was asked for. Members that are missing or of another type
/// stay empty: everybody who knows the container may write records.
CloudOutcome<CloudRecord> readLookupAnswer(const HttpResponse& answer, const std::string& recordName);
/// Nothing when it was written; an error of the record itself is reported as a partial failure.
std::optional<CloudError> readSaveAnswer(const HttpResponse& answer, const std::string& recordName);
/// Nothing when the record is gone, whether or not it was there.
std::optional<CloudError> readRemoveAnswer(const HttpResponse& answer, const std::string& recordName);
/// The answer of "users/caller".
CloudAccountStatus readAccountAnswer(const HttpResponse& answer);

}  // namespace tevanto
