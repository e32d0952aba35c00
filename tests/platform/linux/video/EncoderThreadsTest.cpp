// What several threads do with the encoder at the same time; run under ThreadSanitizer, too.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/screen/encode/PictureEncoderSessionFixture.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST_F(PictureEncoderSessionTest, mayBeInvalidatedWhileItEncodes) {
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  const auto picture = pictures.text(0);
  for (int round = 0; round < 20; ++round) {
    const auto session = factory_.create(320, 240, VideoCodec::h264).value();
    session->prepareToEncodeFrames();
    std::atomic<int> outputs = 0;
    std::thread capture([&] {
      for (int i = 0; i < 30; ++i) {
        session->encodeFrame(picture, i * 66ms, {}, [&](EncodeStatus, const EncodedSample*) { ++outputs; });
      }
    });
    while (outputs < round) std::this_thread::yield();  // ends at another frame each round
    session->invalidate();
    capture.join();
    EXPECT_GE(outputs, round);
    const int before = outputs;
    session->encodeFrame(picture, 9s, {}, [&](EncodeStatus, const EncodedSample*) { ++outputs; });
    EXPECT_EQ(outputs, before);
  }
}

TEST(ProbingEncoderFactory, aThreadMayAskWhileAnotherTries) {
  const ProbingEncoderFactory factory(Logger(), {"h264_of_nobody", "libx264"});
  std::vector<std::thread> threads;
  std::atomic<int> same = 0;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&] { same += factory.encoderName() == "libx264"; });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(same, 4);
}

}  // namespace
}  // namespace tevanto
