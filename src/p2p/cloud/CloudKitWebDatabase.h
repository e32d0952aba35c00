#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "core/queue/WallClock.h"
#include "net/web/HttpClient.h"
#include "p2p/cloud/CloudDatabase.h"
#include "p2p/cloud/CloudKitServerKey.h"
#include "p2p/ice/DeploymentSettings.h"

namespace tevanto {

/// CloudKitWebDatabase reaches the public database of a container through CloudKit Web Services (version 1),
/// for systems without the framework. It sends signed requests over HTTPS. Requests: docs/protocol.md,
/// section 11.1. Lives on the queue that it is given; completions come there.
class CloudKitWebDatabase final : public CloudDatabase,
                                  public std::enable_shared_from_this<CloudKitWebDatabase> {
 public:
  /// Environment holds the dependencies of the database.
  struct Environment {
    std::shared_ptr<HttpClient> http;
    std::shared_ptr<SerialQueue> queue;
    WallClock now;
  };

  // A user waits for the first kind: a request that is stuck must not delay the next ones for long.
  static constexpr std::chrono::seconds kUserInitiatedTimeout{20};
  static constexpr std::chrono::seconds kUtilityTimeout{60};

  CloudKitWebDatabase(const DeploymentSettings::CloudKit& settings, CloudKitServerKey key,
                      Environment environment);

  /// Available when the service accepts the key for the container.
  void accountStatus(std::function<void(CloudAccountStatus)> done) override;
  void fetch(const std::string& recordName, std::function<void(CloudOutcome<CloudRecord>)> done) override;
  void save(const CloudRecord& record, CloudUrgency urgency,
            std::function<void(std::optional<CloudError>)> done) override;
  void remove(const std::string& recordName, CloudUrgency urgency,
              std::function<void(std::optional<CloudError>)> done) override;

 private:
  using Answered = std::function<void(Result<HttpResponse>)>;
  struct Write {
    std::string body;
    CloudUrgency urgency;
    Answered answered;
  };

  void send(const std::string& operation, std::string body, std::chrono::seconds timeout, Answered answered);
  void enqueueWrite(const std::string& recordName, Write write);
  void sendNextWrite(const std::string& recordName);

  const std::string origin_;
  const std::string subpath_;  // of all operations
  const CloudKitServerKey key_;
  const Environment environment_;
  /// By record: requests may overtake one another, so that each waits for the one before.
  std::map<std::string, std::deque<Write>> writes_;
};

/// UnavailableCloudDatabase stands in where no container is configured or its key cannot be used. It has no
/// account, and every request fails.
class UnavailableCloudDatabase final : public CloudDatabase {
 public:
  void accountStatus(std::function<void(CloudAccountStatus)> done) override;
  void fetch(const std::string& recordName, std::function<void(CloudOutcome<CloudRecord>)> done) override;
  void save(const CloudRecord& record, CloudUrgency urgency,
            std::function<void(std::optional<CloudError>)> done) override;
  void remove(const std::string& recordName, CloudUrgency urgency,
              std::function<void(std::optional<CloudError>)> done) override;
};

/// The database that the settings name. Reads the key file; one that cannot be used is logged.
std::shared_ptr<CloudDatabase> makeCloudDatabase(const DeploymentSettings& settings,
                                                 CloudKitWebDatabase::Environment environment,
                                                 const Logger& log);

}  // namespace tevanto
