#pragma once

#include <memory>
#include <string>

#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {

/// The public database of a container through the CloudKit framework, as the user who is signed in to iCloud.
/// Any thread may call; completions come on threads of the framework's, also after this is gone.
class CloudKitDatabase final : public CloudDatabase {
 public:
  /// Whether this process may use the framework, which otherwise ends it.
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
