#include "core/Log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/fakes/RecordingLogSink.h"

namespace tevanto {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

TEST(Log, writesOneLineForEachMessageToStandardError) {
  const Logger log(LogSink::standardError(), "webrtc");
  CaptureStderr();
  log.error("cannot bind");
  log.warning("no daemon");
  log.info("ready");
  log.debug("details");
  EXPECT_EQ(GetCapturedStderr(),
            "tevanto: error: [webrtc] cannot bind\n"
            "tevanto: warning: [webrtc] no daemon\n"
            "tevanto: info: [webrtc] ready\n"
            "tevanto: debug: [webrtc] details\n");
}

TEST(Log, letsNoMessageBeginALineOfItsOwnOrDriveTheTerminal) {
  const Logger log(LogSink::standardError(), "signaling");
  CaptureStderr();
  log.info("one\ntevanto: error: [signaling] forged\r\x1B[2J\x7F grün");
  EXPECT_EQ(GetCapturedStderr(),
            "tevanto: info: [signaling] one tevanto: error: [signaling] forged  [2J  grün\n");
}

TEST(Log, keepsAMessageWithAZeroByteWhole) {
  CaptureStderr();
  Logger(LogSink::standardError(), "webrtc").info(std::string_view("a\0b", 3));
  EXPECT_EQ(GetCapturedStderr(), "tevanto: info: [webrtc] a b\n");
}

TEST(Log, neverMixesTheLinesOfSeveralThreads) {
  const Logger log(LogSink::standardError(), "webrtc");
  const std::string text(300, 'x');
  CaptureStderr();
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&] {
      for (int n = 0; n < 200; ++n) log.info(text);
    });
  }
  for (auto& writer : writers) writer.join();
  const auto captured = GetCapturedStderr();
  const std::string line = "tevanto: info: [webrtc] " + text + "\n";
  ASSERT_EQ(captured.size(), 800 * line.size());
  for (std::size_t at = 0; at < captured.size(); at += line.size())
    ASSERT_EQ(captured.compare(at, line.size(), line), 0) << at;
}

TEST(Log, withoutASinkSaysNothing) {
  CaptureStderr();
  Logger().error("unheard");
  EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(Log, givesTheSinkTheLevelAndTheCategory) {
  const auto sink = std::make_shared<test::RecordingLogSink>();
  Logger(sink, "login-item").warning("switched off");
  ASSERT_EQ(sink->lines().size(), 1u);
  EXPECT_EQ(sink->lines()[0].level, LogLevel::warning);
  EXPECT_EQ(sink->lines()[0].text, "login-item: switched off");
  EXPECT_EQ(Logger::kSubsystem, "app.tevanto");
}

}  // namespace
}  // namespace tevanto
