#include <gtest/gtest.h>

#include "screen/encode/H264Encoder.h"
#include "screen/picture/PixelBufferPool.h"
#include "tests/screen/encode/PictureEncoderSessionFixture.h"
#include "tests/support/video/EncoderPictures.h"
#include "tests/support/video/H264TestDecoder.h"
#include "tests/support/video/SpsFields.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST_F(PictureEncoderSessionTest, everyPictureComesBackAtOnceAndInOrder) {
  for (const auto format : {PixelFormat::i420, PixelFormat::nv12}) {
    test::EncoderPictures pictures(format, 640, 480);
    auto stream = makeStream(640, 480);
    test::H264TestDecoder decoder;
    for (int i = 0; i < 70; ++i) {
      const auto picture = pictures.text(i * 5);
      stream.encode(picture, i * 66ms);
      const auto& frame = stream.frames.back();
      if (frame.isKeyFrame) decoder.setParameterSets(*frame.sps, *frame.pps);
      const auto decoded = decoder.decode(frame.data, i);
      ASSERT_TRUE(decoded) << i;
      EXPECT_EQ(decoded->time, i);
      EXPECT_FALSE(decoded->isReordered);
      EXPECT_TRUE(decoded->isBt709Limited);
      EXPECT_GT(decoded->psnr(*picture), 32) << i;
    }
    EXPECT_EQ(decoder.errors(), 0);
  }
}

TEST_F(PictureEncoderSessionTest, textAtRestIsClearAndCostsNextToNothing) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  test::H264TestDecoder decoder;
  const auto page = pictures.text(0);
  double psnr = 0;
  for (int i = 0; i < 30; ++i) {
    stream.encode(page, i * 66ms);
    const auto& frame = stream.frames.back();
    if (frame.isKeyFrame) decoder.setParameterSets(*frame.sps, *frame.pps);
    psnr = decoder.decode(frame.data)->psnr(*page);
    if (i == 0) {
      EXPECT_GT(psnr, 30);
    }
  }
  EXPECT_GT(psnr, 42);
  EXPECT_LT(stream.frames.back().data.size(), 200u);
}

TEST_F(PictureEncoderSessionTest, eachKeyFrameOfAPictureAtRestIsAsClearAsTheFirst) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  test::H264TestDecoder decoder;
  const auto page = pictures.text(0);
  double first = 0;
  for (int i = 0; i < 6; ++i) {
    // By the pictures' own time one frame interval goes by, by the clock much more.
    clock_.now = i * 5s;
    const auto before = stream.frames.size();
    stream.session().encodeFrame(page, i * 66ms, {true}, [&](EncodeStatus, const EncodedSample* sample) {
      ASSERT_TRUE(sample && sample->sps && sample->pps && sample->data);
      decoder.setParameterSets(*sample->sps, *sample->pps);
      const auto psnr = decoder.decode(*sample->data)->psnr(*page);
      if (i == 0) first = psnr;
      EXPECT_GT(psnr, first - 0.5) << i;
    });
    EXPECT_EQ(stream.frames.size(), before);
  }
  EXPECT_GT(first, 30);
}

TEST_F(PictureEncoderSessionTest, saysWhenItDidItsBest) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  test::H264TestDecoder decoder;
  const auto page = pictures.text(0);
  for (int i = 0; i < 10 && !(i > 0 && *stream.frames.back().isFinest); ++i) {
    stream.encode(page, i * 200ms);
    ASSERT_TRUE(stream.frames.back().isFinest);
    EXPECT_TRUE(i > 0 || !*stream.frames.back().isFinest) << "a page of text does not fit into one frame";
    if (i == 0) decoder.setParameterSets(*stream.frames[0].sps, *stream.frames[0].pps);
  }
  EXPECT_TRUE(*stream.frames.back().isFinest);
  EXPECT_LE(stream.frames.size(), 7u);
  double psnr = 0;
  for (const auto& frame : stream.frames) psnr = decoder.decode(frame.data)->psnr(*page);
  EXPECT_GT(psnr, 44);
}

TEST_F(PictureEncoderSessionTest, aKeyFrameThatTheDataRateDoesNotAllowForComesLater) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  const auto page = pictures.text(0);
  int leftOut = 0;
  // Too few frames in between for the data, and enough for the request.
  for (int i = 0; i < 30 && leftOut == 0; ++i) {
    const bool isForced = i % 3 == 0;
    stream.encode(page, 1ms * i, isForced);
    EXPECT_EQ(stream.frames.back().status, EncodeStatus::success);
    leftOut += isForced && !stream.frames.back().hasSample ? 1 : 0;
  }
  ASSERT_EQ(leftOut, 1);
  stream.encode(page, 2s);
  EXPECT_TRUE(stream.frames.back().isKeyFrame) << "it is owed";
  stream.encode(page, 3s);
  EXPECT_FALSE(stream.frames.back().isKeyFrame);
}

TEST_F(PictureEncoderSessionTest, keyFramesThatAreAskedForOneBehindTheOtherComeLater) {
  test::EncoderPictures pictures(PixelFormat::i420, 640, 480);
  auto stream = makeStream(640, 480);
  std::vector<int> keyFrames;  // by the frame
  int others = 0;
  for (int i = 0; i < 12 * 15; ++i) {
    stream.encode(pictures.text(i * 7), i * 66'667us, true);
    if (stream.frames.back().isKeyFrame) {
      keyFrames.push_back(i);
    } else {
      others += stream.frames.back().hasSample ? 1 : 0;
    }
  }
  EXPECT_EQ(keyFrames, (std::vector<int>{0, 15, 45, 105, 165})) << "1, 2, 4 and 4 seconds later";
  EXPECT_EQ(others, 0) << "what follows a key frame that is awaited is of no use";
  for (int i = 0; i < 3; ++i) {
    stream.encode(pictures.text(i), 16s + i * 66ms);
    EXPECT_TRUE(stream.frames.back().hasSample);
    EXPECT_EQ(stream.frames.back().isKeyFrame, i == 0) << "it is owed";
  }
  stream.encode(pictures.text(9), 16500ms, true);
  EXPECT_TRUE(stream.frames.back().isKeyFrame) << "ordinary frames have gone in between";
}

TEST_F(PictureEncoderSessionTest, aSceneThatChangesIsNoKeyFrame) {
  test::EncoderPictures pictures(PixelFormat::i420, 640, 480);
  auto stream = makeStream(640, 480);
  for (int i = 0; i < 30; ++i) {
    stream.encode(i % 2 ? pictures.flat(40) : pictures.text(0, static_cast<std::uint32_t>(i)), i * 66ms);
  }
  for (std::size_t i = 0; i < stream.frames.size(); ++i) EXPECT_EQ(stream.frames[i].isKeyFrame, i == 0) << i;
}

TEST_F(PictureEncoderSessionTest, aNewPageAfterAPauseIsAsClearAsTheFirst) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  test::H264TestDecoder decoder;
  for (std::uint32_t i = 0; i < 6; ++i) {
    const auto page = pictures.text(0, i + 1);
    stream.encode(page, i * 600ms);
    const auto& frame = stream.frames.back();
    if (frame.isKeyFrame) decoder.setParameterSets(*frame.sps, *frame.pps);
    EXPECT_GT(decoder.decode(frame.data)->psnr(*page), 30) << i;
  }
  EXPECT_EQ(decoder.errors(), 0);
}

TEST_F(PictureEncoderSessionTest, whatMovesLessOftenThanExpectedNeedsNoKeyFrame) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  for (int i = 0; i < 40; ++i) {
    stream.encode(pictures.text(26 * i), i * 90ms);
    EXPECT_EQ(stream.frames.back().isKeyFrame, i == 0) << i;
  }
}

TEST_F(PictureEncoderSessionTest, smallChangesAfterPausesNeedNoKeyFrame) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  stream.encode(pictures.text(0), 0ms);
  for (int i = 1; i < 10; ++i) {
    const auto picture = std::const_pointer_cast<PixelBuffer>(pictures.text(0));
    picture->planes()[0].data[i * 64] = std::byte{20};
    picture->change.region = {i * 64, 0, 8, 16};
    stream.encode(picture, i * 300ms);
    EXPECT_FALSE(stream.frames.back().isKeyFrame) << i;
  }
}

TEST_F(PictureEncoderSessionTest, keyFramesComeEveryFourSecondsOfFrames) {
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  auto stream = makeStream(320, 240, 20'000'000, 12);
  // Faster than 12 a second, so that the frames are what counts, at a rate that leaves none of them out.
  for (int i = 0; i < 150; ++i) stream.encode(pictures.text(i), i * 20ms, i == 60);
  for (int i = 0; i < 150; ++i) {
    EXPECT_EQ(stream.frames[static_cast<std::size_t>(i)].isKeyFrame, i == 0 || i == 48 || i == 60 || i == 108)
        << i;
  }
}

TEST_F(PictureEncoderSessionTest, keyFramesComeEveryFourSecondsByTheClock) {
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  auto stream = makeStream(320, 240);
  const auto picture = pictures.text(0);
  const std::vector<std::pair<PresentationTime, bool>> rows{{10s, true}, {11s, false}, {13999ms, false},
                                                            {14s, true}, {17s, false}, {19s, true},
                                                            {60s, true}, {61s, false}};
  for (const auto& [time, isKeyFrame] : rows) {
    stream.encode(picture, time);
    EXPECT_EQ(stream.frames.back().isKeyFrame, isKeyFrame) << time.count();
  }
}

TEST_F(PictureEncoderSessionTest, aSessionStaysWithItsSizeAndFormat) {
  auto stream = makeStream(320, 240);
  stream.encode(test::EncoderPictures(PixelFormat::i420, 160, 120).text(0), 0ms, true);
  stream.encode(PixelBufferPool(PixelFormat::bgra, 320, 240, 1).acquire(), 1ms, true);
  stream.encode(nullptr, 2ms, true);
  stream.encode(test::EncoderPictures(PixelFormat::i420, 320, 240).text(0), 3ms, true);
  stream.encode(test::EncoderPictures(PixelFormat::nv12, 320, 240).text(0), 4ms, true);
  ASSERT_EQ(stream.frames.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(stream.frames[i].status, i == 3 ? EncodeStatus::success : EncodeStatus::failure) << i;
    EXPECT_EQ(stream.frames[i].hasSample, i == 3) << i;
  }
}

TEST_F(PictureEncoderSessionTest, refusesSizesThatNoStreamCanHave) {
  const std::pair<int, int> sizes[] = {{0, 240}, {320, 0}, {-2, 240}, {321, 240}, {320, 241}, {16'386, 240}};
  for (const auto& [width, height] : sizes) {
    const auto made = factory_.create(width, height, VideoCodec::h264);
    ASSERT_FALSE(made) << width << "x" << height;
    EXPECT_NE(made.error().find(std::to_string(width)), std::string::npos);
  }
  EXPECT_FALSE(factory_.create(320, 240, static_cast<VideoCodec>(0x68766331)));
}

TEST_F(PictureEncoderSessionTest, encodesTheSmallestAndOddlyShapedPictures) {
  for (const auto& [width, height] :
       {std::pair{2, 2}, {16, 16}, {2, 1280}, {1280, 2}, {1278, 800}, {720, 1280}}) {
    auto stream = makeStream(width, height);
    const auto picture = test::EncoderPictures(PixelFormat::i420, width, height).flat(90);
    stream.encode(picture, 0ms, true);
    ASSERT_EQ(stream.frames.back().status, EncodeStatus::success) << width << "x" << height;
    test::H264TestDecoder decoder;
    decoder.setParameterSets(*stream.frames[0].sps, *stream.frames[0].pps);
    const auto decoded = decoder.decode(stream.frames[0].data);
    ASSERT_TRUE(decoded) << width << "x" << height;
    EXPECT_EQ(decoded->width, width);
    EXPECT_EQ(decoded->height, height);
    EXPECT_GT(decoded->psnr(*picture), 30);
  }
}

TEST_F(PictureEncoderSessionTest, refusesPropertiesThatItCannotHave) {
  const auto session = factory_.create(320, 240, VideoCodec::h264).value();
  const std::pair<EncoderProperty, EncoderPropertyValue> rows[] = {
      {EncoderProperty::realTime, false},
      {EncoderProperty::allowFrameReordering, true},
      {EncoderProperty::maxKeyFrameInterval, std::int64_t{0}},
      {EncoderProperty::maxKeyFrameIntervalDuration, std::int64_t{-1}},
      {EncoderProperty::averageBitRate, true},
      {EncoderProperty::expectedFrameRate, std::int64_t{0}},
      {EncoderProperty::dataRateLimits, DataRateLimit{0, 1s}},
      {EncoderProperty::dataRateLimits, DataRateLimit{100, 0s}},
      {EncoderProperty::profileLevel, std::int64_t{77}},
      {static_cast<EncoderProperty>(99), true}};
  for (const auto& [property, value] : rows) {
    EXPECT_FALSE(session->setProperty(property, value)) << static_cast<int>(property);
  }
  session->prepareToEncodeFrames();
  EXPECT_FALSE(session->setProperty(EncoderProperty::realTime, true)) << "it is prepared";
}

TEST_F(PictureEncoderSessionTest, absurdRatesStillEncode) {
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  for (const auto& [bitRate, fps] :
       {std::pair<std::int64_t, std::int64_t>{16, 1}, {24, 1'000'000}, {1LL << 60, 15}}) {
    auto stream = makeStream(320, 240, bitRate, fps);
    for (int i = 0; i < 5; ++i) stream.encode(pictures.text(i), i * 66ms);
    ASSERT_EQ(stream.frames.size(), 5u);
    for (const auto& frame : stream.frames) EXPECT_EQ(frame.status, EncodeStatus::success) << bitRate;
  }
}

TEST_F(PictureEncoderSessionTest, aChangeOfSizeBeginsAnewWithAKeyFrame) {
  std::vector<std::string> output;
  const auto encoder = std::make_shared<H264Encoder>(factory_, 6'000'000, 15);
  encoder->setConfigHandler(
      [&](auto sps, auto) { output.push_back(std::to_string(test::SpsFields::parse(sps).width)); });
  encoder->setFrameHandler([&](auto, bool isKeyframe) { output.emplace_back(isKeyframe ? "key" : "delta"); });
  for (const int width : {640, 640, 320, 320, 640}) {
    encoder->encode(test::EncoderPictures(PixelFormat::i420, width, 240).text(0),
                    std::chrono::milliseconds(66 * output.size()), width, 240);
  }
  EXPECT_EQ(output, (std::vector<std::string>{"640", "key", "delta", "320", "key", "delta", "640", "key"}));
}

TEST_F(PictureEncoderSessionTest, mayBeDestroyedWithinItsOutput) {
  auto session = factory_.create(320, 240, VideoCodec::h264).value();
  session->prepareToEncodeFrames();
  auto* const encoder = session.get();
  std::size_t bytes = 0;
  encoder->encodeFrame(test::EncoderPictures(PixelFormat::i420, 320, 240).text(0), 0ms, {},
                       [&](EncodeStatus, const EncodedSample* sample) {
                         session.reset();
                         bytes = sample->data->size();
                       });
  EXPECT_GT(bytes, 0u);
}

}  // namespace
}  // namespace tevanto
