#include <gtest/gtest.h>

#include <fstream>

#include "screen/encode/AccessUnit.h"
#include "screen/wire/BigEndian.h"
#include "tests/screen/encode/PictureEncoderSessionFixture.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/video/EncoderPictures.h"
#include "tests/support/video/SpsFields.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr std::byte kConstraintSet1{0x40};  // as Main demands

/// The data's NAL units; fails the test when the lengths do not add up.
std::vector<test::Bytes> unitsOf(std::span<const std::byte> data) {
  std::vector<test::Bytes> units;
  while (!data.empty()) {
    const auto length = data.size() < 4 ? 0 : readBigEndian<std::uint32_t>(data);
    if (length == 0 || length > data.size() - 4) {
      ADD_FAILURE() << "a length of " << length << " with " << data.size() << " bytes left";
      break;
    }
    units.push_back(test::copyOf(data.subspan(4, length)));
    data = data.subspan(4 + length);
  }
  return units;
}

class StreamFormat : public PictureEncoderSessionTest {};

TEST_F(StreamFormat, theStreamSaysMainProfileAndItsColors) {
  for (const auto& [width, height] : {std::pair{1280, 720}, std::pair{960, 540}, std::pair{1280, 830}}) {
    auto stream = makeStream(width, height);
    stream.encode(test::EncoderPictures(PixelFormat::i420, width, height).text(0), 0ms, true);
    const auto sps = test::SpsFields::parse(*stream.frames.front().sps);
    EXPECT_EQ(sps.profile, 77);
    EXPECT_EQ(sps.constraints & 0xC0, std::to_integer<int>(kConstraintSet1)) << "no Baseline";
    EXPECT_EQ(sps.width, width);
    EXPECT_EQ(sps.height, height);
    EXPECT_FALSE(sps.isFullRange);
    EXPECT_EQ(sps.primaries, 1);
    EXPECT_EQ(sps.transfer, 1);
    EXPECT_EQ(sps.matrix, 1);
    EXPECT_EQ(sps.maxReordered, 0);
    EXPECT_EQ(sps.pocType, 2) << "output order is decoding order";
  }
}

TEST_F(StreamFormat, aFrameIsTwoSlicesWithSeiAtMostInFront) {
  test::EncoderPictures pictures(PixelFormat::nv12, 640, 480);
  auto stream = makeStream(640, 480);
  for (int i = 0; i < 130; ++i) stream.encode(pictures.text(i * 7), i * 66ms, i == 40);
  int slices = 0;
  for (const auto& frame : stream.frames) {
    for (const auto& unit : unitsOf(frame.data)) {
      const auto type = nalUnitType(unit);
      if (type == NalUnitType::sei) continue;
      EXPECT_EQ(type, frame.isKeyFrame ? NalUnitType::idrSlice : NalUnitType::slice);
      ++slices;
    }
    if (!frame.isKeyFrame) continue;
    EXPECT_EQ(nalUnitType(*frame.sps), NalUnitType::sps);
    EXPECT_EQ(nalUnitType(*frame.pps), NalUnitType::pps);
  }
  EXPECT_EQ(slices, 2 * 130);
}

TEST_F(StreamFormat, ffprobePlaysItAsMainProfileInBt709) {
  const test::TemporaryFolder folder;
  const auto path = (folder / "stream.h264").string();
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  auto stream = makeStream(1280, 720);
  std::ofstream file(path, std::ios::binary);
  const auto write = [&](std::span<const std::byte> unit) {
    file.write("\0\0\0\1", 4) << test::textOf(unit);
  };
  for (int i = 0; i < 20; ++i) {
    stream.encode(pictures.text(i * 9), i * 66ms);
    const auto& frame = stream.frames.back();
    if (frame.isKeyFrame) {
      write(*frame.sps);
      write(*frame.pps);
    }
    for (const auto& unit : unitsOf(frame.data)) write(unit);
  }
  file.close();
  const auto probed = test::runProgram({"ffprobe", "-v", "warning", "-count_frames", "-show_entries",
                                        "stream=profile,width,height,pix_fmt,color_range,color_space,color_"
                                        "transfer,color_primaries,has_b_frames,"
                                        "nb_read_frames",
                                        "-of", "default=noprint_wrappers=1", path},
                                       {.mergeErrors = true});
  EXPECT_EQ(probed.exitStatus, 0);
  EXPECT_EQ(probed.output,
            "profile=Main\nwidth=1280\nheight=720\nhas_b_frames=0\npix_fmt=yuv420p\ncolor_range=tv\n"
            "color_space=bt709\ncolor_transfer=bt709\ncolor_primaries=bt709\nnb_read_frames=20\n");
}

}  // namespace
}  // namespace tevanto
