#include "platform/linux/audio/PulseAudioOutput.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "tests/support/desktop/PulseServer.h"

namespace tevanto {
namespace {

class PulseAudioOutputTest : public testing::Test {
 protected:
  test::PulseServer server_;
  PulseAudioOutput output_{server_.address()};
};

TEST_F(PulseAudioOutputTest, setsAndReadsEveryPercentage) {
  for (int percent = 0; percent <= 100; ++percent) {
    ASSERT_TRUE(output_.setVolume(percent)) << percent;
    const auto read = output_.volume();
    ASSERT_TRUE(read) << read.error();
    EXPECT_EQ(read.value(), percent);
  }
  for (const int percent : {0, 1, 56, 99, 100}) {
    ASSERT_TRUE(output_.setVolume(percent));
    EXPECT_EQ(server_.volumes(), (std::vector<int>{percent, percent})) << "by another client";
  }
}

TEST_F(PulseAudioOutputTest, keepsTheVolumeWithinItsRange) {
  ASSERT_TRUE(output_.setVolume(250));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{100, 100}));
  ASSERT_TRUE(output_.setVolume(-5));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{0, 0}));
  server_.pactl({"set-sink-volume", "@DEFAULT_SINK@", "140%"});
  const auto read = output_.volume();
  ASSERT_TRUE(read);
  EXPECT_EQ(read.value(), 100) << "an amplified sink";
}

TEST_F(PulseAudioOutputTest, keepsTheBalance) {
  server_.pactl({"set-sink-volume", "@DEFAULT_SINK@", "80%", "40%"});
  EXPECT_EQ(output_.volume().value(), 80);
  ASSERT_TRUE(output_.setVolume(50));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{50, 25}));
  EXPECT_EQ(output_.volume().value(), 50);
  ASSERT_TRUE(output_.setVolume(100));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{100, 50}));
}

TEST_F(PulseAudioOutputTest, mutesAndUnmutesWithoutTouchingTheVolume) {
  ASSERT_TRUE(output_.setVolume(37));
  EXPECT_EQ(output_.isMuted().value(), false);
  ASSERT_TRUE(output_.setMuted(true));
  EXPECT_TRUE(server_.isMuted());
  EXPECT_EQ(output_.isMuted().value(), true);
  EXPECT_EQ(output_.volume().value(), 37);
  ASSERT_TRUE(output_.setVolume(38));
  EXPECT_TRUE(server_.isMuted()) << "a new volume does not unmute";
  ASSERT_TRUE(output_.setMuted(false));
  EXPECT_FALSE(server_.isMuted());
}

TEST_F(PulseAudioOutputTest, seesWhatOthersChange) {
  ASSERT_TRUE(output_.volume());
  server_.pactl({"set-sink-volume", "@DEFAULT_SINK@", "12%"});
  server_.pactl({"set-sink-mute", "@DEFAULT_SINK@", "1"});
  EXPECT_EQ(output_.volume().value(), 12);
  EXPECT_EQ(output_.isMuted().value(), true);
}

TEST_F(PulseAudioOutputTest, followsTheDefaultSink) {
  server_.pactl({"load-module", "module-null-sink", "sink_name=other"});
  ASSERT_TRUE(output_.setVolume(30));
  server_.pactl({"set-default-sink", "other"});
  ASSERT_TRUE(output_.setVolume(70));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{70, 70}));
  server_.pactl({"set-default-sink", test::PulseServer::kSink});
  EXPECT_EQ(output_.volume().value(), 30);
}

TEST_F(PulseAudioOutputTest, aServerThatDiedIsAFailureUntilItIsBack) {
  ASSERT_TRUE(output_.setVolume(20));
  server_.kill();
  for (int i = 0; i < 2; ++i) {
    const auto read = output_.volume();
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(), "no audio server");
    const auto set = output_.setMuted(true);
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error(), "no audio server");
  }
  server_.start();
  ASSERT_TRUE(output_.setVolume(60));
  EXPECT_EQ(server_.volumes(), (std::vector<int>{60, 60}));
}

TEST_F(PulseAudioOutputTest, aServerThatWasRestartedBetweenTwoCallsIsNotNoticed) {
  ASSERT_TRUE(output_.setVolume(20));
  server_.kill();
  server_.start();
  ASSERT_TRUE(output_.setVolume(61)) << "the first call on the dead connection";
  EXPECT_EQ(server_.volumes(), (std::vector<int>{61, 61}));
}

TEST_F(PulseAudioOutputTest, aServerThatHangsIsAFailureAndHeardAgainLater) {
  ASSERT_TRUE(output_.setVolume(20));
  server_.process().signal(SIGSTOP);
  const auto onOldConnection = output_.setVolume(80);
  ASSERT_FALSE(onOldConnection);
  EXPECT_EQ(onOldConnection.error(), "audio server does not answer");
  const auto onNewConnection = output_.isMuted();
  ASSERT_FALSE(onNewConnection);
  EXPECT_EQ(onNewConnection.error(), "audio server does not answer");
  server_.process().signal(SIGCONT);
  ASSERT_TRUE(output_.setVolume(81));
  EXPECT_EQ(output_.volume().value(), 81);
}

TEST_F(PulseAudioOutputTest, aServerWithoutASinkHasNoOutput) {
  server_.pactl({"unload-module", "module-null-sink"});
  for (int i = 0; i < 2; ++i) {
    const auto read = output_.volume();
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(), "no audio output");
    const auto set = output_.setVolume(5);
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error(), "no audio output");
    const auto muted = output_.setMuted(true);
    ASSERT_FALSE(muted);
    EXPECT_EQ(muted.error(), "no audio output");
  }
}

TEST_F(PulseAudioOutputTest, mayBeUsedFromOneThreadAfterAnother) {
  for (const int percent : {10, 20, 30}) {
    std::thread([&] { EXPECT_TRUE(output_.setVolume(percent)); }).join();
    EXPECT_EQ(output_.volume().value(), percent);
  }
}

TEST(PulseAudioOutput, withoutAServerSaysSoAndStartsNone) {
  test::TemporaryFolder folder;
  PulseAudioOutput output("unix:" + (folder / "none").string());
  const auto read = output.volume();
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error(), "no audio server");
  EXPECT_FALSE(std::filesystem::exists(folder / "none"));
}

}  // namespace
}  // namespace tevanto
