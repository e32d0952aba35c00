#pragma once

#include <memory>
#include <string>

#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {

/// CloudKitDatabase is the public database of a container by the CloudKit framework, for the user who is
/// signed in to iCloud. Thread-safe. Completions run on the framework's threads, even after this is
/// destroyed.
class CloudKitDatabase final : public CloudDatabase {
 public:
  /// True when this process may use the framework, which ends a process that may not.
  static bool isAvailable();

  /// `container`: its identifier, "iCloud.…".
  explicit CloudKitDatabase(const std::string& container);
  ~CloudKitDatabase() override;

  void accountStatus(std::function<void(CloudAccountStatus)> done) override;
  void fetch(const std::string& recordName, std::function<void(CloudOutcome<CloudRecord>)> done) override;
  void save(const CloudRecord& record, CloudUrgency urgency,
            std::function<void(std::optional<CloudError>)> done) override;
  void remove(const std::string& recordName, CloudUrgency urgency,
              std::function<void(std::optional<CloudError>)> done) override;

 private:
  struct Core;
  const std::unique_ptr<Core> core_;
};

}  // namespace tevanto
