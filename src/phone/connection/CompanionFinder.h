#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "net/discovery/ServiceBrowser.h"
#include "phone/connection/Answer.h"
#include "phone/connection/Endpoint.h"
#include "phone/connection/PairedCompanions.h"

namespace tevanto::phone {

/// Target is the address of a companion, and its identifier where that is known before the connection.
struct Target {
  Endpoint endpoint;
  std::optional<std::string> deviceID;
};

/// CompanionFinder decides to which companion a command goes: the one that the user names by its address,
/// name or identifier; else the only one on the network; else the one that this phone is paired with.
class CompanionFinder {
 public:
  /// Choice is the selection of a companion by the user, and the longest search.
  struct Choice {
    std::optional<Endpoint> host;
    std::string companion;  // name or device identifier; empty: any
    std::chrono::milliseconds timeout{5000};
  };

  /// Without a `browser` only an address finds anything.
  CompanionFinder(ServiceBrowser* browser, const PairedCompanions& paired, Choice choice)
      : browser_(browser), paired_(paired), choice_(std::move(choice)) {}

  /// Every companion on the local network, each once.
  Answer<std::vector<FoundService>> discover() const;
  /// The address of the screen of the companion `deviceID`; without one, of the companion that a command
  /// would go to.
  Answer<Target> findScreen(const std::optional<std::string>& deviceID) const;
  /// The companion that the user named by its address, else the one met at `endpoint`.
  std::optional<std::string> pairedAt(const Endpoint& endpoint) const;
  /// True when the user gave an address.
  bool hasAddress() const { return choice_.host.has_value(); }
  /// For is the purpose of a search.
  enum class For { pairing, command };
  Answer<Target> find(For purpose) const;

 private:
  bool isPaired(const FoundService& service) const;
  Answer<std::vector<FoundService>> browse(const std::string& type) const;
  Answer<Target> pick(std::vector<FoundService> found, For purpose) const;
  Answer<Target> choose(std::vector<FoundService> found, For purpose) const;

  ServiceBrowser* browser_;
  const PairedCompanions& paired_;
  Choice choice_;
};

/// The device identifier that a companion advertises.
std::optional<std::string> advertisedID(const FoundService& service);

}  // namespace tevanto::phone
