#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "core/queue/WallClock.h"
#include "p2p/cloud/CloudDatabase.h"

namespace tevanto::test {

/// A cloud in memory, for one or several clients. Everything happens in a later turn of `queue`; faults come
/// in the order in which they were asked for, one a request.
class FakeCloudDatabase final : public CloudDatabase {
 public:
  struct Save {
    CloudRecord record;
    CloudUrgency urgency;
  };
  struct Removal {
    std::string name;
    CloudUrgency urgency;
  };

  explicit FakeCloudDatabase(std::shared_ptr<SerialQueue> queue, WallClock now = {})
      : queue_(std::move(queue)), now_(std::move(now)) {}

  void accountStatus(std::function<void(CloudAccountStatus)> done) override {
    ++accountChecks;
    queue_->async([done = std::move(done), status = status] { done(status); });
  }

  void fetch(const std::string& recordName, std::function<void(CloudOutcome<CloudRecord>)> done) override {
    fetches.push_back(recordName);
    queue_->async([outcome = answer(recordName), done = std::move(done)] { done(outcome); });
  }

  void save(const CloudRecord& record, CloudUrgency urgency,
            std::function<void(std::optional<CloudError>)> done) override {
    saves.push_back({record, urgency});
    const auto fault = nextFault(writeFaults);
    if (!fault) {
      auto& stored = records[record.name];
      const auto first = stored.serverCreated;
      stored = record;
      stored.serverCreated = first ? first : (now_ ? std::optional(now_()) : std::nullopt);
    }
    queue_->async([done = std::move(done), fault] { done(fault); });
  }

  void remove(const std::string& recordName, CloudUrgency urgency,
              std::function<void(std::optional<CloudError>)> done) override {
    removals.push_back({recordName, urgency});
    const auto fault = nextFault(writeFaults);
    if (!fault) records.erase(recordName);
    queue_->async([done = std::move(done), fault] { done(fault); });
  }

  static CloudError error(int code, std::optional<double> retryAfter = {}) {
    return {"CKErrorDomain", code, retryAfter, {}};
  }

  CloudAccountStatus status = CloudAccountStatus::available;
  std::map<std::string, CloudRecord> records;
  std::deque<CloudError> fetchFaults;
  std::deque<CloudError> writeFaults;
  int accountChecks = 0;
  std::vector<std::string> fetches;
  std::vector<Save> saves;
  std::vector<Removal> removals;

 private:
  CloudOutcome<CloudRecord> answer(const std::string& name) {
    if (auto fault = nextFault(fetchFaults)) return {std::nullopt, *fault};
    const auto found = records.find(name);
    if (found == records.end()) return {std::nullopt, error(CloudError::kUnknownItem)};
    return {found->second, {}};
  }

  static std::optional<CloudError> nextFault(std::deque<CloudError>& faults) {
    if (faults.empty()) return std::nullopt;
    auto fault = std::move(faults.front());
    faults.pop_front();
    return fault;
  }

  const std::shared_ptr<SerialQueue> queue_;
  const WallClock now_;
};

}  // namespace tevanto::test
