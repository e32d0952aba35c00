#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Log.h"
#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "core/queue/WallClock.h"
#include "p2p/cloud/CloudDatabase.h"
#include "p2p/cloud/UsedSessionIds.h"
#include "p2p/signaling/CloudSignaling.h"

namespace tevanto {

/// CloudKitSignalingClient negotiates through records of the cloud. It writes this side's description with
/// all candidates into one record and polls for the other side's. A call by records: docs/protocol.md,
/// section 11.2. Lives on its own queue, "tevanto.cksignal". Used once: start, then stop.
///
///     off ── start, account available ──> polling ── stop ──> off
///      └── no account: off for good
class CloudKitSignalingClient final : public CloudSignaling, public QueueBound<CloudKitSignalingClient> {
 public:
  /// Environment holds the dependencies of a client.
  struct Environment {
    std::shared_ptr<CloudDatabase> database;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<SerialQueue> mainQueue;
    WallClock now;
    /// Identifies this side's negotiation in the records of an offerer.
    std::string session;
    std::shared_ptr<UsedSessionIds> usedSessions = std::make_shared<UsedSessionIds>();
    Logger log = {};
  };

  static constexpr std::string_view kQueueLabel = "tevanto.cksignal";
  static constexpr std::string_view kLogCategory = "cksignal";

  // The side that waits for an answer polls more often.
  static constexpr std::chrono::seconds kPhoneInterval{1};
  static constexpr std::chrono::seconds kMacInterval{3};
  static constexpr std::chrono::seconds kFirstBackoff{5};
  static constexpr std::chrono::seconds kLongestBackoff{60};
  /// Older records belong to a negotiation that is over.
  static constexpr std::chrono::seconds kRecordLife{90};

  explicit CloudKitSignalingClient(Environment environment)
      : QueueBound(environment.queue), environment_(std::move(environment)) {}

  void start(const std::string& room, SignalRole role) override;
  void stop() override;
  void conclude() override;
  void write(const std::string& kind, const SignalMessage& message) override;
  void publishTURN(const std::vector<RemoteIceServerConfig>& servers) override;
  void loadTURN(std::function<void(std::optional<BrokeredIceServers>)> done) override;

 private:
  enum class Stage { idle, starting, polling, over };

  void begin(const std::string& room, SignalRole role);
  void accountAnswered(CloudAccountStatus status);
  void poll();
  void polled(CloudOutcome<CloudRecord> outcome);
  void pollFailed(const CloudError& error);
  void accept(const CloudRecord& record);
  bool isYoung(const CloudRecord& record) const;
  bool follows(const std::string& session) const;
  void save(const std::string& kind, const std::string& session, std::string payload,
            const std::string& success, const std::string& failure);
  /// Calls `report` on the main queue, unless the client has been stopped by then.
  void report(std::function<void(CloudKitSignalingClient&)> report);
  std::string recordName(std::string_view kind) const;
  std::string_view awaitedKind() const;
  std::chrono::seconds interval() const;

  const Environment environment_;
  std::atomic<bool> stopped_ = false;
  std::string room_;
  SignalRole role_ = SignalRole::mac;
  Stage stage_ = Stage::idle;
  std::optional<std::string> session_;  // the one that is followed
  std::optional<std::string> lastDeliveredPayload_;
  std::chrono::seconds pollBackoff_{0};
  Timer nextPoll_;
};

}  // namespace tevanto
