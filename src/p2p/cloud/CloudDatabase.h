#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Result.h"

namespace tevanto {

inline constexpr std::string_view kCloudRecordType = "TevantoSignal";

/// CloudAccountStatus is the state of the user's account. Logs show these numbers.
enum class CloudAccountStatus {
  couldNotDetermine = 0,
  available = 1,
  restricted = 2,
  noAccount = 3,
  temporarilyUnavailable = 4
};

/// CloudRecord is one record of type `kCloudRecordType`. Fields: docs/protocol.md, section 11.1.
struct CloudRecord {
  std::string name = {};
  std::string room = {};
  std::string kind = {};
  std::string session = {};
  std::string payload = {};
  std::optional<std::chrono::system_clock::time_point> created = {};
  /// When the server first stored it; set by the server.
  std::optional<std::chrono::system_clock::time_point> serverCreated = {};

  bool operator==(const CloudRecord&) const = default;
};

/// CloudError is the cloud's own error. `code` is a number of its domain; 11 is "unknown item": no such
/// record.
struct CloudError {
  static constexpr int kUnknownItem = 11;

  std::string domain;
  int code = 0;
  std::optional<double> retryAfter;  // seconds
  /// Set when a request failed for some records only.
  std::vector<std::pair<std::string, CloudError>> partial;

  bool operator==(const CloudError&) const = default;
};

/// For logs: the domain and the code, then "retryAfter=" and "partial=" where they are set.
std::string summary(const CloudError& error);

/// CloudOutcome is a value, or the cloud's error.
template <class T>
struct CloudOutcome {
  std::optional<T> value;
  CloudError error;  // where there is no value
};

/// CloudUrgency tells whether a user waits for a request: `userInitiated`, or `utility` when nobody waits.
enum class CloudUrgency { userInitiated, utility };

/// CloudDatabase is the public database of the application's container. Of two writes of one record the later
/// call wins. Each completion comes once, on a thread that the implementation chooses.
class CloudDatabase {
 public:
  virtual ~CloudDatabase() = default;
  virtual void accountStatus(std::function<void(CloudAccountStatus)> done) = 0;
  virtual void fetch(const std::string& recordName, std::function<void(CloudOutcome<CloudRecord>)> done) = 0;
  /// Writes all fields, whatever is there already.
  virtual void save(const CloudRecord& record, CloudUrgency urgency,
                    std::function<void(std::optional<CloudError>)> done) = 0;
  virtual void remove(const std::string& recordName, CloudUrgency urgency,
                      std::function<void(std::optional<CloudError>)> done) = 0;
};

}  // namespace tevanto
