#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "core/settings/DeviceIdentity.h"
#include "core/settings/JsonUserDefaults.h"
#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/peers/RawSocket.h"

namespace tevanto::test {
namespace {

std::string pairRequest(const std::string& code) {
  RemoteMessage request;
  request.type = "pairRequest";
  request.code = code;
  std::string line;
  encodeRemoteMessage(request, line);
  return line + "\n";
}

std::optional<std::string> storedToken(const CompanionDesktop& desktop) {
  const JsonUserDefaults defaults(desktop.configFolder() / "tevanto" / "defaults.json", Logger());
  return defaults.string(kPairingTokenKey);
}

/// The token that the companion acknowledged before its stream ended.
std::optional<std::string> acknowledgedToken(RawSocket& phone) {
  while (true) {
    const auto line = phone.receiveLine();
    if (line.empty()) return std::nullopt;
    const auto message = decodeRemoteMessage(line);
    if (message && message->type == "pairAccepted") return message->token;
  }
}

bool looksLikeToken(const std::string& text) {
  return text.size() == 36 && text[8] == '-' && text[23] == '-';
}

// The program is killed at a moment drawn at random while a phone pairs, again and again. A real wait: the
// moment has to fall into the work of another process.
TEST(PairingDurability, aKillAtAnyMomentLeavesTheOldOrTheNewTokenAndNeverLosesAnAcknowledgedOne) {
  constexpr int kKills = 1000;
  constexpr int kLatestKillMicroseconds = 6000;
  CompanionDesktop desktop;
  std::mt19937 random(20240601);
  std::uniform_int_distribution<int> moment(0, kLatestKillMicroseconds);
  std::optional<std::string> before;
  int acknowledged = 0;
  int replaced = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    CompanionProcess companion(desktop, TEVANTO_PROGRAM);
    auto phone = RawSocket::connectTo(companion.port());
    ASSERT_TRUE(phone.isOpen());
    const auto status = companion.status();
    ASSERT_TRUE(status);
    ASSERT_TRUE(phone.send(pairRequest(status->pairingCode)));
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    companion.process().kill();

    const auto heard = acknowledgedToken(phone);
    const auto after = storedToken(desktop);
    if (heard) {
      ++acknowledged;
      ASSERT_EQ(after, heard) << "an acknowledged token was lost at kill " << kill;
    }
    if (after != before) {
      ++replaced;
      ASSERT_TRUE(after && looksLikeToken(*after)) << "neither the old nor a new token at kill " << kill;
    }
    before = after;
  }
  RecordProperty("acknowledged", acknowledged);
  RecordProperty("replaced", replaced);
  std::printf("%d kills: %d pairings stored, %d of them acknowledged\n", kKills, replaced, acknowledged);
  // The moments must have fallen on both sides, or nothing was tried.
  EXPECT_GT(replaced, 0);
  EXPECT_LT(acknowledged, kKills);
}

}  // namespace
}  // namespace tevanto::test
