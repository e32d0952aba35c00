#include "p2p/cloud/CloudKitSignalingClient.h"

#include <algorithm>
#include <utility>

#include "core/text/Text.h"

namespace tevanto {
namespace {

constexpr std::string_view kTurnKind = "turn";

/// Wider than isTURNServer: here a scheme may be in any case (RFC 3986, section 3.1).
bool lendsTURN(const RemoteIceServerConfig& server) {
  return std::any_of(server.urlStrings.begin(), server.urlStrings.end(), [](const std::string& url) {
    const auto lower = lowerCased(url);
    return lower.starts_with("turn:") || lower.starts_with("turns:");
  });
}

std::vector<RemoteIceServerConfig> turnServers(const std::vector<RemoteIceServerConfig>& servers) {
  std::vector<RemoteIceServerConfig> lent;
  std::copy_if(servers.begin(), servers.end(), std::back_inserter(lent), lendsTURN);
  return lent;
}

std::optional<std::chrono::system_clock::time_point> dateOf(const CloudRecord& record) {
  return record.created ? record.created : record.serverCreated;
}

std::optional<BrokeredIceServers> brokered(const CloudOutcome<CloudRecord>& outcome) {
  if (!outcome.value) return std::nullopt;
  auto servers = decodeIceServers(outcome.value->payload);
  const auto date = dateOf(*outcome.value);
  if (!servers || servers->empty() || !date) return std::nullopt;
  return BrokeredIceServers{std::move(*servers), *date};
}

}  // namespace

void CloudKitSignalingClient::start(const std::string& room, SignalRole role) {
  post([room, role](CloudKitSignalingClient& self) { self.begin(room, role); });
}

void CloudKitSignalingClient::begin(const std::string& room, SignalRole role) {
  assertOnQueue();
  if (stage_ != Stage::idle) return;
  stage_ = Stage::starting;
  room_ = room;
  role_ = role;
  // An offerer follows its own negotiation from the start; an answerer that of the first offer that it sees.
  if (role == SignalRole::phone) session_ = environment_.session;
  environment_.database->accountStatus(weakPost(&CloudKitSignalingClient::accountAnswered));
}

void CloudKitSignalingClient::stop() {
  stopped_ = true;
  post([](CloudKitSignalingClient& self) {
    self.stage_ = Stage::over;
    self.nextPoll_.cancel();
  });
}

void CloudKitSignalingClient::conclude() {
  post([](CloudKitSignalingClient& self) {
    if (self.session_) self.environment_.usedSessions->add(*self.session_);
  });
}

void CloudKitSignalingClient::accountAnswered(CloudAccountStatus status) {
  if (stage_ != Stage::starting) return;
  if (status != CloudAccountStatus::available) {
    environment_.log.warning("iCloud unavailable (status " + std::to_string(static_cast<int>(status)) +
                             ") — CloudKit signaling off");
    stage_ = Stage::over;
    return report([](auto& self) {
      if (self.onUnavailable) self.onUnavailable();
    });
  }
  environment_.log.info("polling as " + std::string(toString(role_)) + " every " +
                        std::to_string(std::chrono::duration<double>(interval()).count()) + "s");
  stage_ = Stage::polling;
  report([](auto& self) {
    if (self.onOpen) self.onOpen();
  });
  poll();
}

void CloudKitSignalingClient::poll() {
  assertOnQueue();
  if (stage_ != Stage::polling) return;
  environment_.database->fetch(recordName(awaitedKind()), weakPost(&CloudKitSignalingClient::polled));
}

void CloudKitSignalingClient::polled(CloudOutcome<CloudRecord> outcome) {
  assertOnQueue();
  if (stage_ != Stage::polling) return;
  if (outcome.value || outcome.error.code == CloudError::kUnknownItem) {
    pollBackoff_ = {};
    if (outcome.value) accept(*outcome.value);
  } else {
    pollFailed(outcome.error);
  }
  nextPoll_ = queue()->asyncAfter(interval(), weakCall(&CloudKitSignalingClient::poll));
}

void CloudKitSignalingClient::pollFailed(const CloudError& error) {
  if (pollBackoff_ == pollBackoff_.zero()) {
    environment_.log.error("poll " + std::string(awaitedKind()) + " failed: " + summary(error));
    pollBackoff_ = kFirstBackoff;
  } else {
    pollBackoff_ = std::min(2 * pollBackoff_, kLongestBackoff);
  }
}

void CloudKitSignalingClient::accept(const CloudRecord& record) {
  if (!isYoung(record)) return;
  if (!follows(record.session))
    return environment_.log.info("ignored stale signaling record for another session");
  session_ = record.session;
  if (record.payload == lastDeliveredPayload_) return;
  lastDeliveredPayload_ = record.payload;
  environment_.log.info("received " + std::string(awaitedKind()) + " record");
  if (auto message = decodeSignalMessage(record.payload)) {
    report([message = std::move(*message)](auto& self) {
      if (self.onSignal) self.onSignal(message);
    });
  }
}

bool CloudKitSignalingClient::follows(const std::string& session) const {
  return session_ ? *session_ == session : !environment_.usedSessions->contains(session);
}

bool CloudKitSignalingClient::isYoung(const CloudRecord& record) const {
  const auto date = dateOf(record);
  return date && environment_.now() - *date < kRecordLife;
}

void CloudKitSignalingClient::write(const std::string& kind, const SignalMessage& message) {
  post([kind, payload = encodeSignalMessage(message)](CloudKitSignalingClient& self) {
    self.save(kind, self.session_.value_or(std::string()), payload, "wrote " + kind + " record",
              "write " + kind + " failed: ");
  });
}

void CloudKitSignalingClient::publishTURN(const std::vector<RemoteIceServerConfig>& servers) {
  post([payload = encodeIceServers(turnServers(servers))](CloudKitSignalingClient& self) {
    self.save(std::string(kTurnKind), {}, payload, "published TURN configuration", "publish TURN failed: ");
  });
}

void CloudKitSignalingClient::save(const std::string& kind, const std::string& session, std::string payload,
                                   const std::string& success, const std::string& failure) {
  assertOnQueue();
  if (stage_ != Stage::starting && stage_ != Stage::polling) return;
  CloudRecord record;
  record.name = recordName(kind);
  record.room = room_;
  record.kind = kind;
  record.session = session;
  record.payload = std::move(payload);
  record.created = environment_.now();
  environment_.database->save(record, CloudUrgency::userInitiated,
                              [log = environment_.log, success, failure](std::optional<CloudError> error) {
                                error ? log.error(failure + summary(*error)) : log.info(success);
                              });
}

void CloudKitSignalingClient::loadTURN(std::function<void(std::optional<BrokeredIceServers>)> done) {
  // Held until it is done, because an answer is promised.
  queue()->async([self = shared_from_this(), done = std::move(done)] {
    const auto answer = [log = self->environment_.log, mainQueue = self->environment_.mainQueue,
                         done](std::optional<BrokeredIceServers> found) {
      if (found) log.info("loaded brokered TURN configuration");
      mainQueue->async([done, found = std::move(found)] { done(found); });
    };
    if (self->stage_ == Stage::idle || self->stage_ == Stage::over) return answer(std::nullopt);
    self->environment_.database->fetch(
        self->recordName(kTurnKind),
        [answer](const CloudOutcome<CloudRecord>& outcome) { answer(brokered(outcome)); });
  });
}

void CloudKitSignalingClient::report(std::function<void(CloudKitSignalingClient&)> report) {
  environment_.mainQueue->async(weakCall([report = std::move(report)](CloudKitSignalingClient& self) {
    if (!self.stopped_) report(self);
  }));
}

std::string CloudKitSignalingClient::recordName(std::string_view kind) const {
  return "tevanto-" + room_ + "-" + std::string(kind);
}

std::string_view CloudKitSignalingClient::awaitedKind() const {
  return role_ == SignalRole::mac ? "offer" : "answer";
}

std::chrono::seconds CloudKitSignalingClient::interval() const {
  return (role_ == SignalRole::mac ? kMacInterval : kPhoneInterval) + pollBackoff_;
}

}  // namespace tevanto
