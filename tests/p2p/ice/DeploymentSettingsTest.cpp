#include "p2p/ice/DeploymentSettings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/fakes/DeploymentSources.h"

namespace tevanto {
namespace {

using test::DeploymentSources;
using Strings = std::vector<std::string>;

std::string member(const std::string& key, const std::string& value) {
  return "<key>" + key + "</key><string>" + value + "</string>";
}

std::string listMember(const std::string& key, const Strings& values) {
  std::string text = "<key>" + key + "</key><array>";
  for (const auto& value : values) text += "<string>" + value + "</string>";
  return text + "</array>";
}

Strings turnURLs(DeploymentSources& sources) {
  const auto server = sources.settings().turnOverride();
  return server ? server->urlStrings : Strings{};
}

TEST(TurnOverride, isAbsentWithoutUrlsWhateverElseIsThere) {
  DeploymentSources sources;
  EXPECT_FALSE(sources.settings().turnOverride());
  sources.environment = {{"TEVANTO_TURN_USERNAME", "u"}, {"TEVANTO_TURN_CREDENTIAL", "p"}};
  EXPECT_FALSE(sources.settings().turnOverride());
}

TEST(TurnOverride, takesEachValueFromInfoThenDefaultsThenEnvironment) {
  DeploymentSources sources;
  sources.environment = {{"TEVANTO_TURN_URLS", "turn:env"},
                         {"TEVANTO_TURN_USERNAME", "env-user"},
                         {"TEVANTO_TURN_CREDENTIAL", "env-pass"}};
  EXPECT_EQ(sources.settings().turnOverride(), (RemoteIceServerConfig{{"turn:env"}, "env-user", "env-pass"}));
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.urls", Strings{"turn:defaults"}).ok());
  EXPECT_EQ(sources.settings().turnOverride(),
            (RemoteIceServerConfig{{"turn:defaults"}, "env-user", "env-pass"}));
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.username", "defaults-user").ok());
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.credential", "defaults-pass").ok());
  EXPECT_EQ(sources.settings().turnOverride(),
            (RemoteIceServerConfig{{"turn:defaults"}, "defaults-user", "defaults-pass"}));
  sources.info =
      listMember("TevantoTurnURLs", {"turn:info", "turns:info"}) + member("TevantoTurnUsername", "info-user");
  EXPECT_EQ(sources.settings().turnOverride(),
            (RemoteIceServerConfig{{"turn:info", "turns:info"}, "info-user", "defaults-pass"}));
  sources.info += member("TevantoTurnCredential", "info-pass");
  EXPECT_EQ(sources.settings().turnOverride(),
            (RemoteIceServerConfig{{"turn:info", "turns:info"}, "info-user", "info-pass"}));
}

TEST(TurnOverride, needsNoUserNameAndNoCredential) {
  DeploymentSources sources;
  sources.environment = {{"TEVANTO_TURN_URLS", "turn:env"}};
  EXPECT_EQ(sources.settings().turnOverride(), (RemoteIceServerConfig{{"turn:env"}, {}, {}}));
  sources.environment["TEVANTO_TURN_USERNAME"] = "u";
  EXPECT_EQ(sources.settings().turnOverride(), (RemoteIceServerConfig{{"turn:env"}, "u", {}}));
}

TEST(TurnOverride, trimsThePiecesOfTheEnvironmentAndDropsEmptyOnes) {
  DeploymentSources sources;
  auto& urls = sources.environment["TEVANTO_TURN_URLS"];
  urls = "  turn:a:3478?transport=udp ,\tturns:b\r\n,, turn:c  ";
  EXPECT_EQ(turnURLs(sources), (Strings{"turn:a:3478?transport=udp", "turns:b", "turn:c"}));
  for (const char* nothing : {"", ",", ",,,", " , \n,\t", "  "}) {
    urls = nothing;
    EXPECT_FALSE(sources.settings().turnOverride()) << '"' << nothing << '"';
  }
}

TEST(TurnOverride, takesAListThatIsThereEvenWhenItIsEmpty) {
  DeploymentSources sources;
  sources.environment = {{"TEVANTO_TURN_URLS", "turn:env"}};
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.urls", Strings{"", ""}).ok());
  EXPECT_FALSE(sources.settings().turnOverride());
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.urls", Strings{"", "turn:defaults"}).ok());
  EXPECT_EQ(turnURLs(sources), Strings{"turn:defaults"});
  sources.info = listMember("TevantoTurnURLs", {});
  EXPECT_FALSE(sources.settings().turnOverride());
}

TEST(TurnOverride, passesOverValuesOfAnotherKind) {
  DeploymentSources sources;
  sources.info = member("TevantoTurnURLs", "turn:text") + listMember("TevantoTurnUsername", {"u"});
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.urls", "turn:text").ok());
  ASSERT_TRUE(sources.defaults.set("tevanto.turn.username", true).ok());
  sources.environment = {{"TEVANTO_TURN_URLS", "turn:env"}, {"TEVANTO_TURN_USERNAME", "env-user"}};
  EXPECT_EQ(sources.settings().turnOverride(), (RemoteIceServerConfig{{"turn:env"}, "env-user", {}}));
}

TEST(DeploymentSettings, readTheEnvironmentOfTheProcess) {
  const auto environment = DeploymentSettings::processEnvironment();
  ASSERT_EQ(setenv("TEVANTO_DEPLOYMENT_SETTINGS_TEST", "here", 1), 0);
  EXPECT_EQ(environment("TEVANTO_DEPLOYMENT_SETTINGS_TEST"), "here");
  ASSERT_EQ(unsetenv("TEVANTO_DEPLOYMENT_SETTINGS_TEST"), 0);
  EXPECT_EQ(environment("TEVANTO_DEPLOYMENT_SETTINGS_TEST"), std::nullopt);
}

TEST(DeploymentSettings, haveNothingBuiltIn) {
  DeploymentSources sources;
  EXPECT_TRUE(sources.settings().relayURLs().empty());
  EXPECT_TRUE(sources.settings().stunServers().empty());
  EXPECT_FALSE(sources.settings().cloudKit());
}

TEST(DeploymentSettings, keepTheOrderOfTheRelays) {
  DeploymentSources sources;
  sources.environment = {{"TEVANTO_RELAY_URLS", "wss://a.example.org, ws://127.0.0.1:8080"}};
  EXPECT_EQ(sources.settings().relayURLs(), (Strings{"wss://a.example.org", "ws://127.0.0.1:8080"}));
  ASSERT_TRUE(sources.defaults.set("tevanto.relay.urls", Strings{"wss://defaults"}).ok());
  EXPECT_EQ(sources.settings().relayURLs(), Strings{"wss://defaults"});
  sources.info = listMember("TevantoRelayURLs", {"wss://info", "wss://other"});
  EXPECT_EQ(sources.settings().relayURLs(), (Strings{"wss://info", "wss://other"}));
}

TEST(DeploymentSettings, giveEachStunHostItsPort) {
  DeploymentSources sources;
  sources.environment = {{"TEVANTO_STUN_HOSTS",
                          "stun1.example.org, stun2.example.org:3478, 192.0.2.1, [2001:db8::1], "
                          "[2001:db8::1]:3478, 2001:db8::2, stun:x:1"}};
  const auto urls = [&] {
    Strings found;
    for (const auto& server : sources.settings().stunServers()) {
      EXPECT_EQ(server.urlStrings.size(), 1U);
      EXPECT_FALSE(server.username || server.credential);
      found.push_back(server.urlStrings.front());
    }
    return found;
  };
  EXPECT_EQ(urls(), (Strings{"stun:stun1.example.org:19302", "stun:stun2.example.org:3478",
                             "stun:192.0.2.1:19302", "stun:[2001:db8::1]:19302", "stun:[2001:db8::1]:3478",
                             "stun:[2001:db8::2]:19302", "stun:x:1"}));
  ASSERT_TRUE(sources.defaults.set("tevanto.stun.hosts", Strings{"a", "", "b"}).ok());
  EXPECT_EQ(urls(), (Strings{"stun:a:19302", "stun:b:19302"}));
  sources.info = listMember("TevantoSTUNHosts", {"info"});
  EXPECT_EQ(urls(), Strings{"stun:info:19302"});
}

struct CloudKey {
  const char* info;
  const char* defaults;
  const char* environment;
  std::string DeploymentSettings::CloudKit::*member;
};

const CloudKey kCloudKeys[] = {{"TevantoCloudKitContainer", "tevanto.cloudkit.container",
                                "TEVANTO_CLOUDKIT_CONTAINER", &DeploymentSettings::CloudKit::container},
                               {"TevantoCloudKitEnvironment", "tevanto.cloudkit.environment",
                                "TEVANTO_CLOUDKIT_ENVIRONMENT", &DeploymentSettings::CloudKit::environment},
                               {"TevantoCloudKitKeyID", "tevanto.cloudkit.keyID", "TEVANTO_CLOUDKIT_KEY_ID",
                                &DeploymentSettings::CloudKit::keyID},
                               {"TevantoCloudKitKeyFile", "tevanto.cloudkit.keyFile",
                                "TEVANTO_CLOUDKIT_KEY_FILE", &DeploymentSettings::CloudKit::keyFile},
                               {"TevantoCloudKitServiceURL", "tevanto.cloudkit.serviceURL",
                                "TEVANTO_CLOUDKIT_SERVICE_URL", &DeploymentSettings::CloudKit::serviceURL}};

TEST(DeploymentSettings, takeEachCloudValueFromItsThreeSources) {
  for (const auto& key : kCloudKeys) {
    DeploymentSources sources;
    for (const auto& other : kCloudKeys) sources.environment[other.environment] = "other";
    const auto value = [&] {
      const auto cloudKit = sources.settings().cloudKit();
      return cloudKit ? std::optional((*cloudKit).*key.member) : std::nullopt;
    };
    sources.environment[key.environment] = " env\n";
    EXPECT_EQ(value(), "env") << key.environment;
    ASSERT_TRUE(sources.defaults.set(key.defaults, "defaults").ok());
    EXPECT_EQ(value(), "defaults") << key.defaults;
    sources.info = member(key.info, "info");
    EXPECT_EQ(value(), "info") << key.info;
  }
}

TEST(DeploymentSettings, needContainerAndKeyForACloud) {
  DeploymentSources sources;
  const std::map<std::string, std::string> complete = {{"TEVANTO_CLOUDKIT_CONTAINER", "iCloud.example.org"},
                                                       {"TEVANTO_CLOUDKIT_KEY_ID", "id"},
                                                       {"TEVANTO_CLOUDKIT_KEY_FILE", "/etc/key.pem"}};
  sources.environment = complete;
  const auto cloudKit = sources.settings().cloudKit();
  ASSERT_TRUE(cloudKit);
  EXPECT_EQ(cloudKit->environment, "production");
  EXPECT_EQ(cloudKit->serviceURL, "https://api.apple-cloudkit.com");
  for (const auto& [name, value] : complete) {
    sources.environment = complete;
    sources.environment.erase(name);
    EXPECT_FALSE(sources.settings().cloudKit()) << name;
    sources.environment[name] = " ";
    EXPECT_FALSE(sources.settings().cloudKit()) << name;
  }
}

TEST(DeploymentSettings, nameTheContainerWithoutAKeyToo) {
  DeploymentSources sources;
  EXPECT_FALSE(sources.settings().cloudKitContainer());
  sources.environment = {{"TEVANTO_CLOUDKIT_CONTAINER", " iCloud.example.org\n"}};
  EXPECT_EQ(sources.settings().cloudKitContainer(), "iCloud.example.org");
  EXPECT_FALSE(sources.settings().cloudKit());
  sources.environment = {{"TEVANTO_CLOUDKIT_CONTAINER", " "}};
  EXPECT_FALSE(sources.settings().cloudKitContainer());
}

}  // namespace
}  // namespace tevanto
