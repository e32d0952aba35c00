#include "p2p/CloudPairingInvites.h"

#include <utility>

namespace tevanto {
namespace {

/// Says so only when it went wrong: an invite is written again every few minutes.
std::function<void(std::optional<CloudError>)> reportTo(Logger log, std::string what) {
  return [log = std::move(log), what = std::move(what)](const std::optional<CloudError>& error) {
    if (error) log.error(what + " pairing invite failed: " + summary(*error));
  };
}

}  // namespace

CloudPairingInvites::CloudPairingInvites(std::shared_ptr<CloudDatabase> database, WallClock now, Logger log)
    : database_(std::move(database)), now_(std::move(now)), log_(std::move(log)) {}

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
  database_->save(record, CloudUrgency::utility, reportTo(log_, "publish"));
}

void CloudPairingInvites::deletePairInvite(const std::string& code) {
  if (const auto name = pairInviteRecordName(code))
    database_->remove(*name, CloudUrgency::utility, reportTo(log_, "delete"));
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
