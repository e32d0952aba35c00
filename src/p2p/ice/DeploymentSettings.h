#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings/InfoPlist.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

class UserDefaults;

/// DeploymentSettings reads the servers of the away connection, which the person who deploys the program
/// chooses. Each value comes from the first source that has it: the program's Info.plist, the user defaults,
/// the environment. A list is an array of strings in the first two and separated by commas in the
/// environment. No server is built in. Reads the sources at each call; thread-safe.
///
/// | Info.plist                  | user defaults                | environment                  |
/// |-----------------------------|------------------------------|------------------------------|
/// | TevantoRelayURLs            | tevanto.relay.urls           | TEVANTO_RELAY_URLS           | list
/// | TevantoSTUNHosts            | tevanto.stun.hosts           | TEVANTO_STUN_HOSTS           | list
/// | TevantoTurnURLs             | tevanto.turn.urls            | TEVANTO_TURN_URLS            | list
/// | TevantoTurnUsername         | tevanto.turn.username        | TEVANTO_TURN_USERNAME        |
/// | TevantoTurnCredential       | tevanto.turn.credential      | TEVANTO_TURN_CREDENTIAL      |
/// | TevantoCloudKitContainer    | tevanto.cloudkit.container   | TEVANTO_CLOUDKIT_CONTAINER   |
/// | TevantoCloudKitEnvironment  | tevanto.cloudkit.environment | TEVANTO_CLOUDKIT_ENVIRONMENT |
/// | TevantoCloudKitKeyID        | tevanto.cloudkit.keyID       | TEVANTO_CLOUDKIT_KEY_ID      |
/// | TevantoCloudKitKeyFile      | tevanto.cloudkit.keyFile     | TEVANTO_CLOUDKIT_KEY_FILE    |
/// | TevantoCloudKitServiceURL   | tevanto.cloudkit.serviceURL  | TEVANTO_CLOUDKIT_SERVICE_URL |
class DeploymentSettings {
 public:
  using Environment = std::function<std::optional<std::string>(const std::string& name)>;

  /// Key holds the names of one value in the three sources.
  struct Key {
    std::string_view info;
    std::string_view defaults;
    std::string_view environment;
  };

  /// CloudKit describes the record database of the away connection. Without container, key identifier and
  /// key file there is none.
  struct CloudKit {
    std::string container;
    std::string environment = "production";  // or "development"
    std::string keyID;
    std::string keyFile;  // a P-256 private key (PEM)
    std::string serviceURL = "https://api.apple-cloudkit.com";
  };

  /// The variables of this process.
  static Environment processEnvironment();

  DeploymentSettings(InfoPlist info, const UserDefaults& defaults,
                     Environment environment = processEnvironment());

  /// "wss://host[:port]" or "ws://host[:port]", in the order in which they are tried.
  std::vector<std::string> relayURLs() const;
  /// "stun:" URLs; a host configured without a port gets 19302.
  std::vector<RemoteIceServerConfig> stunServers() const;
  /// TURN servers that take the place of those of the credential service.
  std::optional<RemoteIceServerConfig> turnOverride() const;
  /// Names the source of TURN servers, so that those of another deployment are told apart.
  std::string turnOrigin() const;
  std::optional<CloudKit> cloudKit() const;
  /// The container alone: where the system's own framework authenticates the user, no key is needed.
  std::optional<std::string> cloudKitContainer() const;
  /// The value of a key of the caller's, without blanks around it; nothing when it is empty.
  std::optional<std::string> value(const Key& key) const;

 private:
  std::vector<std::string> list(const Key& key) const;
  std::optional<std::string> text(const Key& key) const;

  const InfoPlist info_;
  const UserDefaults& defaults_;
  const Environment environment_;
};

}  // namespace tevanto
