#include "p2p/CloudPairingInvite.h"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <utility>

#include "core/ExactJson.h"
#include "core/Text.h"

namespace tevanto {
namespace {

namespace json = boost::json;

constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kCodeDigits = 6;

std::optional<std::string> text(const json::object& object, std::string_view name) {
  const auto* value = object.if_contains(name);
  if (!value || !value->is_string()) return std::nullopt;
  return std::string(value->get_string().data(), value->get_string().size());
}

/// Says so only when it went wrong: an invite is written again every few minutes.
std::function<void(std::optional<CloudError>)> reportTo(Logger log, std::string what) {
  return [log = std::move(log), what = std::move(what)](const std::optional<CloudError>& error) {
    if (error) log.error(what + " pairing invite failed: " + summary(*error));
  };
}

}  // namespace

std::string encodePairingInvite(const CloudPairingInvite& invite) {
  json::object object;  // keeps its members in the order of their arrival
  object.emplace("deviceID", wellFormedUtf8(invite.deviceID));
  object.emplace("deviceName", wellFormedUtf8(invite.deviceName));
  return json::serialize(object);
}

std::optional<CloudPairingInvite> decodePairingInvite(std::string_view json) {
  const auto object = parseExactObject(json, kMaxDepth);
  if (!object) return std::nullopt;
  auto deviceID = text(*object, "deviceID");
  auto deviceName = text(*object, "deviceName");
  if (!deviceID || !deviceName) return std::nullopt;
  return CloudPairingInvite{std::move(*deviceID), std::move(*deviceName)};
}

std::optional<std::string> pairInviteRecordName(std::string_view code) {
  std::string digits;
  for (const char character : code) {
    if (character >= '0' && character <= '9') digits += character;
  }
  return digits.size() == kCodeDigits ? std::optional("tevanto-pair-" + digits) : std::nullopt;
}

CloudPairingInvites::CloudPairingInvites(std::shared_ptr<CloudDatabase> database, WallClock now, Logger log)
    : database_(std::move(database)), now_(std::move(now)), log_(std::move(log)) {}

void CloudPairingInvites::publishPairInvite(std::string_view code, const std::string& room,
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

void CloudPairingInvites::deletePairInvite(std::string_view code) {
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
