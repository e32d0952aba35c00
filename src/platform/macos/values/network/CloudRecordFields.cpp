#include "platform/macos/values/network/CloudRecordFields.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tevanto {
namespace {

using std::chrono::system_clock;
using Seconds = std::chrono::duration<double>;

// A clock counts to the year 2262; whoever knows the container may write any date.
constexpr double kMostSeconds = 9.2e9;

constexpr int kPartialFailure = 2;

double secondsOf(system_clock::time_point time) { return Seconds(time.time_since_epoch()).count(); }

std::optional<system_clock::time_point> timeOf(std::optional<double> seconds) {
  if (!seconds || !(std::abs(*seconds) < kMostSeconds)) return std::nullopt;
  // A double holds no more of today than microseconds.
  return system_clock::time_point(std::chrono::round<std::chrono::microseconds>(Seconds(*seconds)));
}

bool isUnknownItem(const CloudError& error) { return error.code == CloudError::kUnknownItem; }

}  // namespace

CloudRecordFields fieldsOf(const CloudRecord& record) {
  CloudRecordFields fields{{{"room", record.room},
                            {"kind", record.kind},
                            {"session", record.session},
                            {"payload", record.payload}},
                           std::nullopt};
  if (record.created) fields.created = secondsOf(*record.created);
  return fields;
}

CloudRecord cloudRecordOf(const std::string& name,
                          const std::function<std::optional<std::string>(const char* key)>& text,
                          std::optional<double> created, std::optional<double> serverCreated) {
  return {.name = name,
          .room = text("room").value_or(""),
          .kind = text("kind").value_or(""),
          .session = text("session").value_or(""),
          .payload = text("payload").value_or(""),
          .created = timeOf(created),
          .serverCreated = timeOf(serverCreated)};
}

CloudAccountStatus cloudAccountStatusOf(long number) {
  const auto isKnown = number >= 0 && number <= static_cast<long>(CloudAccountStatus::temporarilyUnavailable);
  return isKnown ? static_cast<CloudAccountStatus>(number) : CloudAccountStatus::couldNotDetermine;
}

CloudError errorOfOne(CloudError error) {
  if (error.code != kPartialFailure || error.partial.size() != 1) return error;
  auto only = std::move(error.partial.front().second);
  if (!only.retryAfter) only.retryAfter = error.retryAfter;
  return only;
}

std::optional<CloudError> removalError(CloudError error) {
  if (isUnknownItem(error)) return std::nullopt;
  const auto& partial = error.partial;
  const auto isGone = error.code == kPartialFailure && !partial.empty() &&
                      std::all_of(partial.begin(), partial.end(),
                                  [](const auto& entry) { return isUnknownItem(entry.second); });
  if (isGone) return std::nullopt;
  return error;
}

}  // namespace tevanto
