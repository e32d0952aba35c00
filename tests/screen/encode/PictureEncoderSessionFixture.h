#pragma once

#include <gtest/gtest.h>

#include "platform/linux/video/OpenEncoder.h"
#include "platform/linux/video/ProbingEncoderFactory.h"
#include "screen/encode/PictureEncoder.h"
#include "tests/support/video/EncodedStream.h"

namespace tevanto {

/// Sessions of the encoder in software, by a clock of the test's.
class PictureEncoderSessionTest : public ::testing::Test {
 protected:
  test::EncodedStream makeStream(int width, int height, std::int64_t bitRate = 6'000'000,
                                 std::int64_t fps = 15) {
    test::EncodedStream stream(factory_.create(width, height, VideoCodec::h264).value(), &clock_);
    stream.prepare(bitRate, fps);
    return stream;
  }

  test::EncoderClock clock_;
  ProbingEncoderFactory factory_{{Logger(), clock_.reader(), openEncoder, nullptr}, {"libx264"}};
};

}  // namespace tevanto
