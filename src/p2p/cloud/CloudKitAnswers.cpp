#include "p2p/cloud/CloudKitAnswers.h"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

#include "core/text/ExactJson.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

namespace json = boost::json;
using std::chrono::system_clock;
using Code = CloudKitErrorCode;

constexpr std::size_t kMaxDepth = 32;

struct NamedCode {
  std::string_view name;
  int status;
  Code code;
};

/// The errors of the service, the HTTP status that goes with each, and what CKError calls them.
constexpr NamedCode kErrors[] = {{"ACCESS_DENIED", 403, Code::permissionFailure},
                                 {"ATOMIC_ERROR", 400, Code::batchRequestFailed},
                                 {"AUTHENTICATION_FAILED", 401, Code::notAuthenticated},
                                 {"AUTHENTICATION_REQUIRED", 421, Code::notAuthenticated},
                                 {"BAD_REQUEST", 400, Code::invalidArguments},
                                 {"CONFLICT", 409, Code::serverRecordChanged},
                                 {"EXISTS", 409, Code::serverRecordChanged},
                                 {"INTERNAL_ERROR", 500, Code::serverRejectedRequest},
                                 {"NOT_FOUND", 404, Code::unknownItem},
                                 {"QUOTA_EXCEEDED", 413, Code::quotaExceeded},
                                 {"THROTTLED", 429, Code::requestRateLimited},
                                 {"TRY_AGAIN_LATER", 503, Code::serviceUnavailable},
                                 {"VALIDATING_REFERENCE_ERROR", 412, Code::referenceViolation},
                                 {"ZONE_NOT_FOUND", 404, Code::zoneNotFound}};

Code codeNamed(std::string_view name) {
  for (const auto& error : kErrors) {
    if (error.name == name) return error.code;
  }
  return Code::serverRejectedRequest;
}

/// For answers whose text is not the service's. A missing page is no missing record then.
Code codeOfStatus(int status) {
  for (const auto& error : kErrors) {
    if (error.status == status && status != 404 && status != 400) return error.code;
  }
  return Code::serverRejectedRequest;
}

std::optional<double> seconds(const json::value* value) {
  if (!value || !value->is_number()) return std::nullopt;
  const auto number = value->to_number<double>();
  return std::isfinite(number) && number >= 0 ? std::optional(number) : std::nullopt;
}

std::optional<double> retryAfterHeader(const HttpResponse& answer) {
  for (const auto& [name, value] : answer.headers) {
    if (lowerCased(name) != "retry-after") continue;
    unsigned whole = 0;  // RFC 9110; dates are of no use here
    const auto [end, failed] = std::from_chars(value.data(), value.data() + value.size(), whole);
    if (failed == std::errc() && end == value.data() + value.size()) return whole;
  }
  return std::nullopt;
}

std::string text(const json::value* value) {
  const auto* found = value ? value->if_string() : nullptr;
  return found ? std::string(found->data(), found->size()) : std::string();
}

/// Milliseconds since 1970; nothing for what the system's clock cannot hold.
std::optional<system_clock::time_point> date(const json::value* value) {
  constexpr double kFarthest = 9.2e12;  // some 291 years
  if (!value || !value->is_number()) return std::nullopt;
  const auto number = value->to_number<double>();
  if (!(std::abs(number) < kFarthest)) return std::nullopt;
  return system_clock::time_point(std::chrono::milliseconds(static_cast<std::int64_t>(number)));
}

const json::value* inside(const json::value* object, std::string_view name) {
  const auto* members = object ? object->if_object() : nullptr;
  return members ? members->if_contains(name) : nullptr;
}

CloudError errorIn(const json::object& object) {
  auto error = cloudKitError(codeNamed(text(object.if_contains("serverErrorCode"))));
  error.retryAfter = seconds(object.if_contains("retryAfter"));
  return error;
}

/// Of a request that failed as a whole.
CloudError errorOf(const HttpResponse& answer) {
  const auto object = parseExactObject(answer.body, kMaxDepth);
  auto error = object && object->contains("serverErrorCode") ? errorIn(*object)
                                                             : cloudKitError(codeOfStatus(answer.status));
  if (!error.retryAfter) error.retryAfter = retryAfterHeader(answer);
  return error;
}

/// The answer's entry for the record, or why there is none.
struct Entry {
  std::optional<json::object> record;
  CloudError error;
};

Entry entryFor(const HttpResponse& answer, const std::string& recordName) {
  if (answer.status != 200) return {std::nullopt, errorOf(answer)};
  auto object = parseExactObject(answer.body, kMaxDepth);
  auto* records = object ? object->if_contains("records") : nullptr;
  if (records && records->is_array()) {
    for (auto& entry : records->get_array()) {
      if (entry.is_object() && text(inside(&entry, "recordName")) == recordName)
        return {std::move(entry.get_object()), {}};
    }
  }
  return {std::nullopt, errorOf(answer)};
}

json::object field(std::string_view value) {
  return json::object{{"value", wellFormedUtf8(value)}, {"type", "STRING"}};
}

std::string modifyBody(std::string_view operation, json::object record) {
  return json::serialize(
      json::object{{"operations",
                    json::array{json::object{{"operationType", operation}, {"record", std::move(record)}}}}});
}

std::optional<CloudError> partialFailure(const std::string& recordName, CloudError cause) {
  auto error = cloudKitError(Code::partialFailure);
  error.partial.emplace_back(recordName, std::move(cause));
  return error;
}

}  // namespace

CloudError cloudKitError(CloudKitErrorCode code) {
  return {kCloudKitErrorDomain, static_cast<int>(code), {}, {}};
}

std::string cloudLookupBody(const std::string& recordName) {
  return json::serialize(
      json::object{{"records", json::array{json::object{{"recordName", wellFormedUtf8(recordName)}}}}});
}

std::string cloudSaveBody(const CloudRecord& record) {
  json::object fields{{"room", field(record.room)},
                      {"kind", field(record.kind)},
                      {"session", field(record.session)},
                      {"payload", field(record.payload)}};
  if (record.created) {
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(record.created->time_since_epoch());
    fields.emplace("created", json::object{{"value", sinceEpoch.count()}, {"type", "TIMESTAMP"}});
  }
  return modifyBody("forceReplace", {{"recordName", wellFormedUtf8(record.name)},
                                     {"recordType", kCloudRecordType},
                                     {"fields", std::move(fields)}});
}

std::string cloudRemoveBody(const std::string& recordName) {
  return modifyBody("forceDelete", {{"recordName", wellFormedUtf8(recordName)}});
}

CloudOutcome<CloudRecord> readLookupAnswer(const HttpResponse& answer, const std::string& recordName) {
  const auto entry = entryFor(answer, recordName);
  if (!entry.record) return {std::nullopt, entry.error};
  if (entry.record->contains("serverErrorCode")) return {std::nullopt, errorIn(*entry.record)};
  const auto* fields = entry.record->if_contains("fields");
  const auto value = [&](std::string_view name) { return inside(inside(fields, name), "value"); };
  return {CloudRecord{recordName, text(value("room")), text(value("kind")), text(value("session")),
                      text(value("payload")), date(value("created")),
                      date(inside(entry.record->if_contains("created"), "timestamp"))},
          {}};
}

std::optional<CloudError> readSaveAnswer(const HttpResponse& answer, const std::string& recordName) {
  const auto entry = entryFor(answer, recordName);
  if (!entry.record) return entry.error;
  if (entry.record->contains("serverErrorCode")) return partialFailure(recordName, errorIn(*entry.record));
  return std::nullopt;
}

std::optional<CloudError> readRemoveAnswer(const HttpResponse& answer, const std::string& recordName) {
  auto error = readSaveAnswer(answer, recordName);
  const bool wasNotThere =
      error && !error->partial.empty() && error->partial.front().second.code == CloudError::kUnknownItem;
  return wasNotThere ? std::nullopt : error;
}

CloudAccountStatus readAccountAnswer(const HttpResponse& answer) {
  if (answer.status == 200) {
    const auto object = parseExactObject(answer.body, kMaxDepth);
    const bool isKnown = object && !text(object->if_contains("userRecordName")).empty();
    return isKnown ? CloudAccountStatus::available : CloudAccountStatus::couldNotDetermine;
  }
  switch (static_cast<Code>(errorOf(answer).code)) {
    case Code::notAuthenticated:
      return CloudAccountStatus::noAccount;
    case Code::permissionFailure:
      return CloudAccountStatus::restricted;
    case Code::requestRateLimited:
    case Code::serviceUnavailable:
      return CloudAccountStatus::temporarilyUnavailable;
    default:
      return CloudAccountStatus::couldNotDetermine;
  }
}

}  // namespace tevanto
