#include "app/doctor/AwayDoctorChecks.h"

#include <algorithm>
#include <future>
#include <string>
#include <utility>

#include "app/doctor/RelayAttempt.h"
#include "app/doctor/TurnAttempt.h"
#include "core/queue/OneShotResult.h"
#include "p2p/cloud/CloudDatabase.h"
#include "p2p/cloud/CloudKitServerKey.h"
#include "p2p/ice/StunProbe.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {
namespace {

using Attempt = Result<std::string>;
using Attempts = std::vector<std::function<Attempt()>>;
using Servers = std::vector<RemoteIceServerConfig>;
using Environment = std::shared_ptr<const AwayDoctorEnvironment>;
/// Those of each relay. Fetched once, by whichever check asks first.
using Fetched = std::shared_future<std::vector<Result<Servers>>>;

/// A relay's answer must not make us call half the world.
constexpr std::size_t kMostAtOnce = 8;
constexpr auto kCloudTimeout = std::chrono::seconds(10);

std::string notSetUp(const std::string& command, const std::string& purpose) {
  return "not set up; to " + purpose + ": tevanto defaults set " + command;
}

/// Tries all of them at the same time. What they found, or what those that failed complain of.
Attempt tryAll(Attempts attempts) {
  const auto left = attempts.size() - std::min(attempts.size(), kMostAtOnce);
  attempts.resize(attempts.size() - left);
  std::vector<std::future<Attempt>> running;
  for (auto& attempt : attempts) running.push_back(std::async(std::launch::async, std::move(attempt)));
  std::string found;
  std::string complaints;
  for (auto& each : running) {
    const auto result = each.get();
    if (result) found += (found.empty() ? "" : ", ") + result.value();
    if (!result) complaints += (complaints.empty() ? "" : " ") + result.error();
  }
  if (!complaints.empty()) return Failure{complaints};
  return left == 0 ? found : found + " (" + std::to_string(left) + " more were not tried)";
}

Attempt tryRelays(const AwayDoctorEnvironment& environment) {
  Attempts attempts;
  for (const auto& url : environment.settings.relayURLs()) {
    attempts.emplace_back([&environment, url] {
      return tryRelay(*environment.webSockets, environment.loop->makeQueue("tevanto.doctor.relay"), url);
    });
  }
  if (!attempts.empty()) return tryAll(std::move(attempts));
  return notSetUp(R"(tevanto.relay.urls '["wss://relay.example.org"]')", "meet phones that are away");
}

std::vector<Result<Servers>> fetchCredentials(const AwayDoctorEnvironment& environment) {
  auto relays = environment.settings.relayURLs();
  relays.resize(std::min(relays.size(), kMostAtOnce));
  std::vector<std::future<Result<Servers>>> running;
  for (const auto& url : relays) {
    running.push_back(std::async(std::launch::async, [&environment, url] {
      return tryCredentials(*environment.http, environment.loop->makeQueue("tevanto.doctor.turn"), url);
    }));
  }
  std::vector<Result<Servers>> fetched;
  for (auto& each : running) fetched.push_back(each.get());
  return fetched;
}

Attempt describeCredentials(const std::string& relayURL, const Result<Servers>& servers) {
  if (!servers) return Failure{servers.error()};
  if (const auto count = servers.value().size(); count > 0)
    return relayURL + " hands out " + std::to_string(count) + (count == 1 ? " TURN server" : " TURN servers");
  return relayURL +
         " hands out no TURN servers; some networks need one: start tevanto-relay with --turn-url "
         "and --turn-secret";
}

Attempt checkCredentials(const AwayDoctorEnvironment& environment, const Fetched& fetched) {
  const auto relays = environment.settings.relayURLs();
  if (relays.empty()) return std::string("not set up; they come from a relay");
  const auto& answers = fetched.get();
  Attempts attempts;
  for (std::size_t i = 0; i < answers.size(); ++i)
    attempts.emplace_back([&relays, &answers, i] { return describeCredentials(relays[i], answers[i]); });
  return tryAll(std::move(attempts));
}

Attempt tryStun(const std::string& url) {
  const auto server = parseIceUrl(url);
  if (!server) return Failure{url + " is no address of a STUN server; write it as host:port."};
  const auto address = askStun(*server);
  if (address) return url + " sees us at " + address.value();
  return Failure{url + " does not tell our address (" + address.error() +
                 "); check tevanto.stun.hosts, and that the firewall lets UDP to that port through."};
}

Attempt checkStun(const AwayDoctorEnvironment& environment) {
  Attempts attempts;
  for (const auto& server : environment.settings.stunServers()) {
    for (const auto& url : server.urlStrings) attempts.emplace_back([url] { return tryStun(url); });
  }
  if (!attempts.empty()) return tryAll(std::move(attempts));
  return notSetUp(R"(tevanto.stun.hosts '["stun.example.org"]')", "learn our address behind a router");
}

Servers turnServers(const AwayDoctorEnvironment& environment, const Fetched& fetched) {
  if (auto configured = environment.settings.turnOverride()) return {std::move(*configured)};
  Servers all;
  for (const auto& answer : fetched.get()) {
    if (answer) all.insert(all.end(), answer.value().begin(), answer.value().end());
  }
  return all;
}

Attempt checkTurn(const AwayDoctorEnvironment& environment, const Fetched& fetched) {
  Attempts attempts;
  for (const auto& server : turnServers(environment, fetched)) {
    for (const auto& url : server.urlStrings) {
      // A server of a relay may be known by STUN URLs besides.
      if (url.starts_with("stun")) continue;
      attempts.emplace_back(
          [&environment, one = RemoteIceServerConfig{{url}, server.username, server.credential}] {
            return tryTurn(*environment.peers, one);
          });
    }
  }
  if (attempts.empty()) {
    return notSetUp(R"(tevanto.turn.urls '["turn:turn.example.org:3478"]')",
                    "connect from networks that need TURN, let the relay hand out credentials or") +
           ", with tevanto.turn.username and tevanto.turn.credential";
  }
  if (const auto loaded = environment.loadPeers(); !loaded)
    return Failure{"The WebRTC engine cannot be loaded (" + loaded.error() + "); install Tevanto again."};
  return tryAll(std::move(attempts));
}

Attempt inWords(CloudAccountStatus status, const DeploymentSettings::CloudKit& settings) {
  const auto container = "the container " + settings.container + " (" + settings.environment + ")";
  switch (status) {
    case CloudAccountStatus::available:
      return container + " accepts our key";
    case CloudAccountStatus::noAccount:
      return Failure{
          "CloudKit does not know our key for " + container +
          "; check tevanto.cloudkit.keyID, the key file, the environment and this computer's clock."};
    case CloudAccountStatus::restricted:
      return Failure{"Our key may not use " + container + "; give it access in the CloudKit console."};
    case CloudAccountStatus::temporarilyUnavailable:
      return Failure{"CloudKit is too busy for " + container + "; try again in a few minutes."};
    case CloudAccountStatus::couldNotDetermine:
      break;
  }
  return Failure{"No readable answer of CloudKit about " + container + "; check the network, and that " +
                 settings.serviceURL + " can be reached."};
}

Attempt checkCloud(const AwayDoctorEnvironment& environment) {
  const auto settings = environment.settings.cloudKit();
  if (!settings) {
    return notSetUp("tevanto.cloudkit.container iCloud.org.example", "meet without a relay") +
           ", with tevanto.cloudkit.keyID and tevanto.cloudkit.keyFile";
  }
  if (const auto key = CloudKitServerKey::load(settings->keyID, settings->keyFile); !key)
    return Failure{"The CloudKit key cannot be used: " + key.error() + " Check tevanto.cloudkit.keyFile."};
  const auto answer = std::make_shared<OneShotResult<CloudAccountStatus>>();
  environment.database->accountStatus([answer](CloudAccountStatus status) { answer->set(status); });
  return inWords(answer->waitFor(kCloudTimeout).value_or(CloudAccountStatus::couldNotDetermine), *settings);
}

}  // namespace

std::vector<DoctorCheck> awayDoctorChecks(AwayDoctorEnvironment environment) {
  const Environment shared = std::make_shared<const AwayDoctorEnvironment>(std::move(environment));
  const Fetched fetched =
      std::async(std::launch::deferred, [shared] { return fetchCredentials(*shared); }).share();
  return {{"relay", [shared] { return tryRelays(*shared); }},
          {"credentials", [shared, fetched] { return checkCredentials(*shared, fetched); }},
          {"STUN", [shared] { return checkStun(*shared); }},
          {"TURN", [shared, fetched] { return checkTurn(*shared, fetched); }},
          {"cloud", [shared] { return checkCloud(*shared); }}};
}

}  // namespace tevanto
