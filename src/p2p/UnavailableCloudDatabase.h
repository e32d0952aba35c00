#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/SerialQueue.h"
#include "p2p/CloudDatabase.h"

namespace tevanto {

/// Where no database was deployed: there is no account, and everything else fails.
class UnavailableCloudDatabase final : public CloudDatabase {
 public:
  /// Completions come on `queue`.
  explicit UnavailableCloudDatabase(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}

  void accountStatus(std::function<void(CloudAccountStatus)> done) override {
    queue_->async([done = std::move(done)] { done(CloudAccountStatus::noAccount); });
  }
  void fetch(const std::string&, std::function<void(CloudOutcome<CloudRecord>)> done) override {
    queue_->async([done = std::move(done)] { done({std::nullopt, notAuthenticated()}); });
  }
  void save(const CloudRecord&, CloudUrgency, std::function<void(std::optional<CloudError>)> done) override {
    queue_->async([done = std::move(done)] { done(notAuthenticated()); });
  }
  void remove(const std::string&, CloudUrgency,
              std::function<void(std::optional<CloudError>)> done) override {
    queue_->async([done = std::move(done)] { done(notAuthenticated()); });
  }

 private:
  static CloudError notAuthenticated() { return {"CKErrorDomain", 9, {}, {}}; }

  const std::shared_ptr<SerialQueue> queue_;
};

}  // namespace tevanto
