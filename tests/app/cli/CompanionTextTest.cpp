#include "app/cli/CompanionText.h"

#include <gtest/gtest.h>

#include "app/cli/DefaultsText.h"

namespace tevanto {
namespace {

CompanionStatus readyStatus() {
  CompanionStatus status;
  status.version = "0.1.0";
  status.pairingCode = "012345";
  status.statusText = "Waiting for iPhone";
  status.hostName = "desk";
  status.addresses = {"192.0.2.7", "2001:db8::7"};
  status.remotePort = 51637;
  status.isAccessibilityTrusted = true;
  status.keepAwakeStatusText = "Keep Awake off";
  status.launchAtLoginStatusText = "Off";
  status.discovery = {AdvertisingState::advertised, "desk", ""};
  return status;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(CompanionText, theCommandForTheSecondTerminalNamesTheCode) {
  EXPECT_EQ(pairCommand(readyStatus(), "bin/tevanto-phone"), "bin/tevanto-phone pair 012345");
}

TEST(CompanionText, withoutDiscoveryTheCommandNamesThePortToo) {
  auto status = readyStatus();
  status.remotePort = 4711;
  for (const auto state : {AdvertisingState::unavailable, AdvertisingState::pending}) {
    status.discovery.state = state;
    EXPECT_EQ(pairCommand(status, "tevanto-phone"), "tevanto-phone pair 012345 --host 127.0.0.1:4711");
  }
}

TEST(CompanionText, thePlainPanelIsLinesOfNameAndValue) {
  EXPECT_EQ(companionPanel(readyStatus(), "tevanto-phone", {}),
            "Tevanto 0.1.0: Waiting for iPhone\n"
            "Pairing code: 012345\n"
            "Name: desk\n"
            "Address: 192.0.2.7:51637, [2001:db8::7]:51637\n"
            "Discovery: visible on the local network as \"desk\"\n"
            "Pointer, keys: ready\n"
            "Keep awake: Keep Awake off\n"
            "In a second terminal: tevanto-phone pair 012345\n");
}

TEST(CompanionText, thePicturePanelShowsTheSame) {
  const auto panel = companionPanel(readyStatus(), "tevanto-phone", {.picture = true, .color = false});
  for (const auto* part :
       {"│     012345     │", "desk", "192.0.2.7:51637", "    tevanto-phone pair 012345\n"}) {
    EXPECT_TRUE(contains(panel, part)) << part << "\n" << panel;
  }
  EXPECT_FALSE(contains(panel, "\x1b")) << "colors only where they were asked for";
  EXPECT_TRUE(contains(companionPanel(readyStatus(), "x", {true, true}), "\x1b[1m012345\x1b[0m"));
}

TEST(CompanionText, tellsWhatDoesNotWork) {
  auto status = readyStatus();
  status.discovery = {AdvertisingState::unavailable, "desk", "Discovery is off: there is no Avahi daemon"};
  status.isAccessibilityTrusted = false;
  status.remotePort = 0;
  const auto panel = companionPanel(status, "tevanto-phone", {});
  EXPECT_TRUE(contains(panel, "Discovery: off: there is no Avahi daemon\n")) << panel;
  EXPECT_TRUE(contains(panel, "Pointer, keys: not possible: tevanto doctor tells why\n")) << panel;
  EXPECT_TRUE(contains(panel, "Address: none: it does not listen\n")) << panel;
}

TEST(CompanionText, tellsWhyItIsNotVisibleYet) {
  auto status = readyStatus();
  status.discovery = {AdvertisingState::pending, "desk", ""};
  EXPECT_TRUE(contains(statusLines(status), "Discovery:       starting\n"));
  status.discovery.message = "The Avahi daemon does not publish the service: Too many objects.";
  EXPECT_TRUE(contains(statusLines(status), "Too many objects.\n"));
}

TEST(CompanionText, aComputerWithoutANetworkIsReachedFromItself) {
  auto status = readyStatus();
  status.addresses.clear();
  EXPECT_TRUE(contains(statusLines(status), "127.0.0.1:51637 (this computer only)"));
}

TEST(CompanionText, theBatteryFollowsTheKeepAwakeText) {
  auto status = readyStatus();
  status.batteryPercent = 64;
  EXPECT_TRUE(contains(statusLines(status), "Keep awake:      Keep Awake off · 64%\n"));
  status.batteryPercent.reset();
  EXPECT_TRUE(contains(statusLines(status), "Keep awake:      Keep Awake off\n"));
}

TEST(CompanionText, eachChangeIsOneLine) {
  const auto before = readyStatus();
  EXPECT_TRUE(changesBetween(before, before).empty());
  auto after = before;
  after.statusText = "Paired";
  after.pairingCode = "999999";
  after.discovery = {AdvertisingState::unavailable, "desk", ""};
  after.isAccessibilityTrusted = false;
  after.keepAwakeStatusText = "Keeps running after screen lock";
  after.launchAtLoginStatusText = "Starts after login";
  EXPECT_EQ(
      changesBetween(before, after),
      (std::vector<std::string>{"Paired", "New pairing code: 999999", "Discovery: off",
                                "Pointer and keys: not possible: tevanto doctor tells why",
                                "Keeps running after screen lock", "Launch at login: Starts after login"}));
}

using Type = DefaultsOptions::Type;

TEST(DefaultsText, guessesTheTypeOfAValue) {
  const std::pair<const char*, DefaultsValue> cases[] = {
      {"true", true},
      {"false", false},
      {"8", std::int64_t{8}},
      {"-3", std::int64_t{-3}},
      {"0.5", 0.5},
      {"super", std::string("super")},
      {"", std::string()},
      {"null", std::string("null")},
      {"\"q\"", std::string("\"q\"")},
      {"012345", std::string("012345")},
      {R"(["a","b"])", std::vector<std::string>{"a", "b"}},
      {R"({"base64":"AP8="})", DefaultsData{std::byte{0}, std::byte{0xFF}}},
      {R"({"base64":"A"})", std::string(R"({"base64":"A"})")},
      {"[1]", std::string("[1]")},
      {"{}", std::string("{}")}};
  for (const auto& [text, expected] : cases) {
    const auto value = defaultsValueFrom(text, Type::automatic);
    ASSERT_TRUE(value) << text;
    EXPECT_EQ(value.value(), expected) << text;
  }
}

TEST(DefaultsText, holdsToATypeThatWasAskedFor) {
  EXPECT_EQ(defaultsValueFrom("true", Type::string).value(), DefaultsValue(std::string("true")));
  EXPECT_EQ(defaultsValueFrom("1", Type::real).value(), DefaultsValue(1.0));
  EXPECT_EQ(defaultsValueFrom("false", Type::boolean).value(), DefaultsValue(false));
  EXPECT_EQ(defaultsValueFrom("7", Type::integer).value(), DefaultsValue(std::int64_t{7}));
  EXPECT_EQ(defaultsValueFrom("[]", Type::array).value(), DefaultsValue(std::vector<std::string>()));
  const std::pair<const char*, Type> refused[] = {{"yes", Type::boolean},
                                                  {"1", Type::boolean},
                                                  {"1.5", Type::integer},
                                                  {"x", Type::real},
                                                  {"a", Type::array}};
  for (const auto& [text, type] : refused) EXPECT_FALSE(defaultsValueFrom(text, type)) << text;
}

TEST(DefaultsText, isReadAsItWasWritten) {
  EXPECT_EQ(defaultsText(std::string("a b")), "a b");
  EXPECT_EQ(defaultsText(true), "true");
  EXPECT_EQ(defaultsText(std::int64_t{8}), "8");
  EXPECT_EQ(defaultsText(std::vector<std::string>{"a", "b"}), R"(["a","b"])");
  EXPECT_EQ(defaultsText(DefaultsData{std::byte{0}, std::byte{0xFF}}), R"({"base64":"AP8="})");
}

TEST(DefaultsText, credentialsAreSecret) {
  EXPECT_TRUE(isSecretDefault("remotePairingToken"));
  EXPECT_TRUE(isSecretDefault("tevanto.turn.credential"));
  EXPECT_TRUE(isSecretDefault("tevanto.turn-credentials.v1"));
  EXPECT_FALSE(isSecretDefault("tevantoDeviceID"));
}

}  // namespace
}  // namespace tevanto
