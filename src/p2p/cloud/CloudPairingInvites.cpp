#include "p2p/cloud/CloudPairingInvites.h"

#include <mutex>
#include <utility>

namespace tevanto {

/// Reports logs the errors of one kind of request, and no error twice in a row: an invite is written every
/// few minutes, also with a key that the service refuses each time.
class CloudPairingInvites::Reports {
 public:
  Reports(Logger log, std::string what) : log_(std::move(log)), what_(std::move(what)) {}

  void handleResult(const std::optional<CloudError>& error) {
    if (!isNews(error)) return;
    if (error) log_.error(what_ + " pairing invite failed: " + summary(*error));
  }

 private:
  bool isNews(const std::optional<CloudError>& error) {
    const std::lock_guard lock(mutex_);
    return std::exchange(last_, error) != error;
  }

  const Logger log_;
  const std::string what_;
  std::mutex mutex_;
  std::optional<CloudError> last_;
};

CloudPairingInvites::CloudPairingInvites(std::shared_ptr<CloudDatabase> database, WallClock now,
                                         const Logger& log)
    : database_(std::move(database)),
      now_(std::move(now)),
      published_(std::make_shared<Reports>(log, "publish")),
      deleted_(std::make_shared<Reports>(log, "delete")) {}

void CloudPairingInvites::publishPairInvite(const std::string& code, const std::string& room,
                                            const CloudPairingInvite& invite) {
  auto name = pairInviteRecordName(code);
  if (!name) return;
  CloudRecord record;
  record.name = std::move(*name);
  record.room = room;
  record.kind = "pairInvite";
  record.payload = encodePairingInvite(invite);
  record.created = now_();
  database_->save(record, CloudUrgency::utility,
                  [reports = published_](const auto& error) { reports->handleResult(error); });
}

void CloudPairingInvites::deletePairInvite(const std::string& code) {
  if (const auto name = pairInviteRecordName(code))
    database_->remove(*name, CloudUrgency::utility,
                      [reports = deleted_](const auto& error) { reports->handleResult(error); });
}

void CloudPairingInvites::loadPairInvite(std::string_view code,
                                         std::function<void(std::optional<Found>)> done) {
  const auto name = pairInviteRecordName(code);
  if (!name) return done(std::nullopt);
  database_->fetch(*name, [done = std::move(done)](CloudOutcome<CloudRecord> outcome) {
    auto invite = outcome.value ? decodePairingInvite(outcome.value->payload) : std::nullopt;
    done(invite ? std::optional(Found{std::move(outcome.value->room), std::move(*invite)}) : std::nullopt);
  });
}

}  // namespace tevanto
