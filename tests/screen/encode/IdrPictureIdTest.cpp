#include "platform/linux/video/OpenEncoder.h"
#include "screen/encode/IdrPictureId.h"

#include <gtest/gtest.h>

#include <set>

#include "platform/linux/video/ProbingEncoderFactory.h"
#include "screen/encode/PictureEncoder.h"
#include "screen/wire/BigEndian.h"
#include "tests/support/video/EncodedStream.h"
#include "tests/support/video/EncoderPictures.h"
#include "tests/support/video/H264TestDecoder.h"
#include "tests/support/video/SpsFields.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

/// Of each slice in `data`, whose units stand behind their lengths.
std::vector<int> idsIn(std::span<const std::byte> sps, std::span<const std::byte> data) {
  std::vector<int> ids;
  const auto fields = test::SpsFields::parse(sps);
  while (data.size() > 4) {
    const auto unit = data.subspan(4, readBigEndian<std::uint32_t>(data));
    if (nalUnitType(unit) == NalUnitType::idrSlice) ids.push_back(fields.idrPictureIdIn(unit));
    data = data.subspan(4 + unit.size());
  }
  return ids;
}

EncoderSettings settingsOf(int width, int height) {
  EncoderSettings settings;
  settings.width = width;
  settings.height = height;
  settings.format = PixelFormat::i420;
  return settings;
}

test::DecodedPicture decoded(const AccessUnit& unit) {
  test::H264TestDecoder decoder;
  decoder.setParameterSets(*unit.sps, *unit.pps);
  auto picture = decoder.decode(unit.data);
  EXPECT_TRUE(picture);
  EXPECT_EQ(decoder.errors(), 0);
  return picture.value_or(test::DecodedPicture());
}

TEST(IdrPictureId, theSlicesSaySoAndThePictureIsTheSame) {
  const auto encoder = openEncoder("libx264", settingsOf(320, 240)).value();
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  std::uint32_t seed = 0;
  // Each length of the code, and so each shift of what is behind it.
  for (const int id : {0, 1, 2, 3, 6, 7, 15, 100, 255, 1000, 4095, 16383, 32767, 65534, 65535}) {
    for (const auto& picture : {pictures.noise(++seed), pictures.text(id), pictures.flat(40)}) {
      auto unit = encoder->encode(picture, true).value().value();
      const auto before = decoded(unit);
      ASSERT_TRUE(setIdrPictureId(unit, static_cast<std::uint16_t>(id)));
      EXPECT_EQ(idsIn(*unit.sps, unit.data), (std::vector<int>{id, id})) << "both slices";
      EXPECT_EQ(decoded(unit).luma, before.luma) << id;
    }
  }
}

TEST(IdrPictureId, leavesOtherFramesAndOtherStreamsAsTheyAre) {
  const auto encoder = openEncoder("libx264", settingsOf(320, 240)).value();
  test::EncoderPictures pictures(PixelFormat::i420, 320, 240);
  const auto key = encoder->encode(pictures.text(0), true).value().value();
  auto delta = encoder->encode(pictures.text(5), false).value().value();
  const auto before = delta.data;
  EXPECT_FALSE(setIdrPictureId(delta, 7));
  EXPECT_EQ(delta.data, before);
  const auto isLeft = [&](auto change) {
    auto unit = key;
    change(unit);
    const auto data = unit.data;
    return !setIdrPictureId(unit, 7) && unit.data == data;
  };
  EXPECT_TRUE(isLeft([](auto& unit) { unit.pps.reset(); }));
  EXPECT_TRUE(isLeft([](auto& unit) { unit.sps->clear(); }));
  EXPECT_TRUE(isLeft([](auto& unit) { (*unit.sps)[1] = std::byte{100}; })) << "High profile";
  EXPECT_TRUE(isLeft([](auto& unit) { (*unit.pps)[1] |= std::byte{0x20}; })) << "arithmetic coding";
  EXPECT_TRUE(isLeft([](auto& unit) { unit.data.resize(unit.data.size() - 1); })) << "cut short";
  const auto isLeftWithSlice = [&](std::vector<std::byte> slice) {
    return isLeft([&](auto& unit) {
      unit.data.assign({std::byte{0}, std::byte{0}, std::byte{0}, static_cast<std::byte>(slice.size())});
      unit.data.insert(unit.data.end(), slice.begin(), slice.end());
    });
  };
  const std::byte header{0x65};
  EXPECT_TRUE(isLeftWithSlice({header})) << "a slice without data";
  EXPECT_TRUE(isLeftWithSlice({header, std::byte{0xFF}})) << "a slice that ends within its header";
  EXPECT_TRUE(isLeftWithSlice({header, std::byte{0}, std::byte{0}})) << "a slice that never ends";
}

// After each pause the encoder is begun anew, and counts from 0 again.
TEST(IdrPictureId, keyFramesOfOneSessionHaveDifferentOnes) {
  test::EncoderClock clock;
  ProbingEncoderFactory factory({Logger(), clock.reader(), openEncoder, nullptr}, {"libx264"});
  test::EncodedStream stream(factory.create(1280, 720, VideoCodec::h264).value(), &clock);
  stream.prepare();
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  std::set<int> ids;
  for (int i = 0; i < 12; ++i) {
    stream.encode(pictures.text(0, static_cast<std::uint32_t>(i + 1)), i * 5s, true);
    const auto& frame = stream.frames.back();
    ASSERT_TRUE(frame.isKeyFrame && frame.sps);
    for (const auto id : idsIn(*frame.sps, frame.data)) ids.insert(id);
  }
  EXPECT_EQ(ids.size(), 12u);
}

}  // namespace
}  // namespace tevanto
