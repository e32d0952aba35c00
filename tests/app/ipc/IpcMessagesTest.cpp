#include "app/ipc/IpcMessages.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using Kind = IpcRequest::Kind;

CompanionStatus someStatus() {
  CompanionStatus status;
  status.version = "1.2.3";
  status.processID = 42;
  status.pairingCode = "012345";
  status.statusText = "Waiting for iPhone";
  status.isClientConnected = true;
  status.isPaired = true;
  status.isAccessibilityTrusted = true;
  status.deviceID = "6B1F…";
  status.hostName = "büro";
  status.addresses = {"192.0.2.7", "2001:db8::7"};
  status.remotePort = 51637;
  status.isStreaming = true;
  status.screenStatusText = "Mirroring to iPhone";
  status.isScreenRecordingTrusted = true;
  status.encoder = "libx264";
  status.screenPort = 51638;
  status.keepAwakeOn = true;
  status.batteryPercent = 64;
  status.keepAwakeStatusText = "Keeps running after screen lock";
  status.launchAtLoginOn = true;
  status.launchAtLoginStatusText = "Starts after login";
  status.discovery = {AdvertisingState::unavailable, "büro", "There is no Avahi daemon."};
  return status;
}

TEST(IpcMessages, everyRequestSurvivesTheRoundTrip) {
  for (const auto& request :
       {IpcRequest{Kind::status}, IpcRequest{Kind::keepAwake, true}, IpcRequest{Kind::keepAwake, false},
        IpcRequest{Kind::showSetupWindow}, IpcRequest{Kind::showSetupWindow, false, "desk-1-menu_TIME4711"},
        IpcRequest{Kind::reloadDefaults}, IpcRequest{Kind::giveWay}}) {
    const auto decoded = decodeIpcRequest(encodeIpcRequest(request));
    ASSERT_TRUE(decoded) << decoded.error();
    EXPECT_EQ(decoded.value(), request);
  }
}

TEST(IpcMessages, saysWhatIsWrongWithARequest) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "A request is one JSON object on one line."},
      {"[]", "A request is one JSON object on one line."},
      {"{\"request\":\"status\"", "A request is one JSON object on one line."},
      {"{\"request\":\"\xff\"}", "A request is one JSON object on one line."},
      {"{}", "A request names itself in the string \"request\"."},
      {R"({"request":"tevantoOpenSetup","activationToken":7})", "An activation token is a string."},
      {"{\"request\":7}", "A request names itself in the string \"request\"."},
      {"{\"request\":\"quit\"}",
       "Requests are status, keepAwake, tevantoOpenSetup, reloadDefaults and giveWay."},
      {"{\"request\":\"keepAwake\"}", "keepAwake needs the boolean \"on\"."},
      {"{\"request\":\"keepAwake\",\"on\":1}", "keepAwake needs the boolean \"on\"."}};
  for (const auto& [line, error] : cases) {
    const auto decoded = decodeIpcRequest(line);
    ASSERT_FALSE(decoded) << line;
    EXPECT_EQ(decoded.error(), error) << line;
  }
}

TEST(IpcMessages, deepNestingIsRefused) {
  EXPECT_FALSE(decodeIpcRequest(std::string(4000, '[')));
  EXPECT_FALSE(decodeIpcRequest("{\"request\":" + std::string(2000, '[') + std::string(2000, ']') + "}"));
}

TEST(IpcMessages, repliesSurviveTheRoundTrip) {
  for (const auto& reply : {IpcReply{true, "", someStatus()}, IpcReply{false, "no", {}},
                            IpcReply{false, "Battery too low", someStatus()}}) {
    EXPECT_EQ(decodeIpcReply(encodeIpcReply(reply)), reply);
  }
  EXPECT_FALSE(decodeIpcReply("{}"));
  EXPECT_FALSE(decodeIpcReply("{\"ok\":1}"));
  EXPECT_FALSE(decodeIpcReply("nonsense"));
}

TEST(IpcMessages, aStatusHasTheseMembersEvenWhenNothingIsKnown) {
  const auto json = encodeCompanionStatus({});
  for (const auto* member :
       {"pairingCode", "statusText", "isClientConnected", "isAccessibilityTrusted", "deviceID", "hostName",
        "remotePort", "keepAwakeOn", "batteryPercent", "keepAwakeStatusText", "launchAtLoginStatusText",
        "discovery", "isPaired", "addresses"}) {
    EXPECT_NE(json.find("\"" + std::string(member) + "\":"), std::string::npos) << member;
  }
  EXPECT_NE(json.find("\"batteryPercent\":null"), std::string::npos);
  EXPECT_EQ(json.find('\n'), std::string::npos);
}

TEST(IpcMessages, aStatusSurvivesTheRoundTrip) {
  EXPECT_EQ(decodeCompanionStatus(encodeCompanionStatus(someStatus())), someStatus());
  EXPECT_FALSE(decodeCompanionStatus("[]"));
}

TEST(IpcMessages, aStatusMemberOfAnotherTypeIsLeftOut) {
  const auto status = decodeCompanionStatus(
      R"({"pairingCode":7,"remotePort":"x","isPaired":1,"addresses":[1,"a"],"discovery":[]})");
  ASSERT_TRUE(status);
  CompanionStatus expected;
  expected.addresses = {"a"};
  EXPECT_EQ(*status, expected);
}

}  // namespace
}  // namespace tevanto
