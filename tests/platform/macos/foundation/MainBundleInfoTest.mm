// The bundle of this program, whose information is in Info.plist.

#include "platform/macos/foundation/MainBundleInfo.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto::test {
namespace {

TEST(MainBundleInfoContract, hasTheTextsAndListsOfTheBundle) {
  const auto log = std::make_shared<RecordingLogSink>();
  const auto information = mainBundleInfo(Logger(log, "webrtc"));
  for (const auto& line : log->lines()) ADD_FAILURE() << line.text;
  EXPECT_EQ(information.string("CFBundleIdentifier"), "app.tevanto.contract-tests");
  EXPECT_EQ(information.string("TevantoTurnUsername"), "user of the bundle");
  EXPECT_EQ(information.strings("TevantoTurnURLs"),
            (std::vector<std::string>{"turn:turn.example.org", "turns:turn.example.org"}));
  EXPECT_FALSE(information.string("TevantoTurnCredential"));
  EXPECT_FALSE(information.string("TevantoTurnURLs")) << "a list is no text";
}

}  // namespace
}  // namespace tevanto::test
