#include "phone/connection/CompanionFinder.h"

#include <algorithm>
#include <utility>

namespace tevanto::phone {
namespace {

constexpr auto* kServiceType = "_tevanto-remote._tcp";
constexpr auto* kScreenServiceType = "_tevanto-video._tcp";

Target targetOf(const FoundService& service) {
  Target target{{service.addresses, service.port}, advertisedID(service)};
  if (target.endpoint.hosts.empty()) target.endpoint.hosts.push_back(service.hostName);
  return target;
}

/// A computer with several networks answers once on each.
void mergeInto(std::vector<FoundService>& all, FoundService service) {
  const auto known = std::find_if(all.begin(), all.end(), [&](const auto& other) {
    return other.port == service.port && other.name == service.name &&
           advertisedID(other) == advertisedID(service);
  });
  if (known == all.end()) return all.push_back(std::move(service));
  for (auto& address : service.addresses) {
    if (std::find(known->addresses.begin(), known->addresses.end(), address) == known->addresses.end()) {
      known->addresses.push_back(std::move(address));
    }
  }
}

std::string namesOf(const std::vector<FoundService>& found) {
  std::string names;
  for (const auto& service : found) names += (names.empty() ? "\"" : ", \"") + service.name + "\"";
  return names;
}

}  // namespace

std::optional<std::string> advertisedID(const FoundService& service) {
  const auto found = service.txt.find("id");
  return found == service.txt.end() ? std::nullopt : std::optional(found->second);
}

Answer<std::vector<FoundService>> CompanionFinder::discover() const { return browse(kServiceType); }

Answer<std::vector<FoundService>> CompanionFinder::browse(const std::string& type) const {
  if (!browser_) {
    return Trouble{ExitCode::notFound,
                   "This build cannot look for companions. Name the computer: --host ADDRESS."};
  }
  auto browsed = browser_->browse(type, choice_.timeout);
  if (!browsed) {
    return Trouble{ExitCode::notFound, browsed.error() + " --host ADDRESS connects without discovery."};
  }
  std::vector<FoundService> found;
  for (auto& service : browsed.value()) mergeInto(found, std::move(service));
  return found;
}

Answer<Target> CompanionFinder::find(For purpose) const {
  if (choice_.host) return Target{*choice_.host, pairedAt(*choice_.host)};
  auto found = discover();
  if (!found) return found.trouble();
  return pick(*std::move(found), purpose);
}

Answer<Target> CompanionFinder::findScreen(const std::optional<std::string>& deviceID) const {
  if (choice_.host) {
    return Target{{choice_.host->hosts, kScreenPort}, deviceID ? deviceID : pairedAt(*choice_.host)};
  }
  auto found = browse(kScreenServiceType);
  if (!found) return found.trouble();
  if (deviceID) {
    std::erase_if(*found, [&](const auto& service) { return advertisedID(service) != deviceID; });
  }
  return pick(*std::move(found), For::command);
}

std::optional<std::string> CompanionFinder::pairedAt(const Endpoint& endpoint) const {
  if (auto chosen = paired_.known(choice_.companion)) return chosen;
  return paired_.companionAt(choice_.host ? *choice_.host : endpoint);
}

Answer<Target> CompanionFinder::pick(std::vector<FoundService> found, For purpose) const {
  if (!choice_.companion.empty()) {
    std::erase_if(found, [&](const auto& service) {
      return service.name != choice_.companion && advertisedID(service) != choice_.companion;
    });
  }
  if (found.empty()) {
    return Trouble{ExitCode::notFound,
                   "No companion found on the local network. Is it running, and on the same network? "
                   "--host ADDRESS connects without discovery; `tevanto status` shows the address."};
  }
  return choose(std::move(found), purpose);
}

bool CompanionFinder::isPaired(const FoundService& service) const {
  const auto id = advertisedID(service);
  return id && paired_.token(*id);
}

Answer<Target> CompanionFinder::choose(std::vector<FoundService> found, For purpose) const {
  if (found.size() == 1) return targetOf(found.front());
  if (purpose == For::command) {
    const auto last = paired_.last();
    for (const auto& service : found) {
      if (last && advertisedID(service) == last) return targetOf(service);
    }
    const auto isOurs = [this](const auto& service) { return isPaired(service); };
    if (std::count_if(found.begin(), found.end(), isOurs) == 1) {
      return targetOf(*std::find_if(found.begin(), found.end(), isOurs));
    }
  }
  return Trouble{ExitCode::usage,
                 "Several companions answer: " + namesOf(found) + ". Choose one with --companion NAME."};
}

}  // namespace tevanto::phone
