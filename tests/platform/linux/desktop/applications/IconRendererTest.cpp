#include "platform/linux/desktop/applications/IconRenderer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/platform/linux/desktop/applications/DesktopFixture.h"

namespace tevanto {
namespace {

using test::DesktopFixture;
using test::Picture;

constexpr std::uint32_t kRed = 0xFF0000FF;
constexpr std::uint32_t kClear = 0;

class IconRendering : public testing::Test {
 protected:
  DesktopFixture files_;
};

TEST_F(IconRendering, makesAnyPictureASquareOfTheSize) {
  for (const int side : {1, 16, 63, 64, 65, 512}) {
    const auto png = renderIcon(files_.writePng("a.png", side, side, kRed), 64);
    ASSERT_TRUE(png) << side;
    const Picture picture(*png);
    EXPECT_EQ(picture.width(), 64);
    EXPECT_EQ(picture.height(), 64);
    EXPECT_EQ(picture.at(0, 0), kRed) << side;
    EXPECT_EQ(picture.at(32, 32), kRed) << side;
    EXPECT_EQ(picture.at(63, 63), kRed) << side;
  }
}

TEST_F(IconRendering, keepsTheProportionsAndCentres) {
  const auto wide = renderIcon(files_.writePng("wide.png", 128, 32, kRed), 64);
  const auto tall = renderIcon(files_.writeSvg("tall.svg", 10, 40, "red"), 64);
  ASSERT_TRUE(wide);
  ASSERT_TRUE(tall);
  const Picture widePicture(*wide);
  EXPECT_EQ(widePicture.at(32, 23), kClear);
  EXPECT_EQ(widePicture.at(0, 24), kRed);
  EXPECT_EQ(widePicture.at(63, 39), kRed);
  EXPECT_EQ(widePicture.at(32, 40), kClear);
  const Picture tallPicture(*tall);
  EXPECT_EQ(tallPicture.width(), 64);
  EXPECT_EQ(tallPicture.at(23, 32), kClear);
  EXPECT_EQ(tallPicture.at(24, 0), kRed);
  EXPECT_EQ(tallPicture.at(39, 63), kRed);
  EXPECT_EQ(tallPicture.at(40, 32), kClear);
}

TEST_F(IconRendering, drawsDrawingsAtTheSizeThatIsWanted) {
  // A picture of 2 by 2 pixels would be blurred when it is enlarged; the drawing's edge stays sharp.
  const auto drawing = files_.write("a.svg", R"(<svg xmlns="http://www.w3.org/2000/svg" width="2" height="2">
    <rect width="1" height="2" fill="#f00"/></svg>)");
  const auto png = renderIcon(drawing, 64);
  ASSERT_TRUE(png);
  const Picture picture(*png);
  EXPECT_EQ(picture.at(31, 32), kRed);
  EXPECT_EQ(picture.at(32, 32), kClear);
}

TEST_F(IconRendering, readsXpmToo) {
  const auto file = files_.write("a.xpm",
                                 "/* XPM */\nstatic char * a[] = {\n\"2 2 1 1\",\n\"x c #FF0000\",\n"
                                 "\"xx\",\n\"xx\"};\n");
  const auto png = renderIcon(file, 64);
  ASSERT_TRUE(png);
  EXPECT_EQ(Picture(*png).at(10, 10), kRed);
}

TEST_F(IconRendering, refusesWhatIsNoImage) {
  EXPECT_FALSE(renderIcon(files_.path("missing.png"), 64));
  EXPECT_FALSE(renderIcon(files_.path(""), 64)) << "a folder";
  EXPECT_FALSE(renderIcon(files_.write("empty.png", ""), 64));
  EXPECT_FALSE(renderIcon(files_.write("text.png", "not an image"), 64));
  EXPECT_FALSE(renderIcon(files_.write("broken.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\"><rect"), 64));
  ASSERT_EQ(::mkfifo(files_.path("pipe.png").c_str(), 0600), 0);
  EXPECT_FALSE(renderIcon(files_.path("pipe.png"), 64));
}

TEST_F(IconRendering, survivesAPictureCutAnywhere) {
  std::ifstream file(files_.writePng("whole.png", 16, 16, kRed), std::ios::binary);
  const std::string whole(std::istreambuf_iterator<char>(file), {});
  ASSERT_GT(whole.size(), 40u);
  for (std::size_t size = 0; size < whole.size() - 12; ++size) {  // 12: the empty closing chunk
    const auto png = renderIcon(files_.write("cut.png", whole.substr(0, size)), 64);
    if (png) {
      EXPECT_EQ(Picture(*png).width(), 64);
    }
  }
  EXPECT_FALSE(renderIcon(files_.write("cut.png", whole.substr(0, 40)), 64));
}

/// The header of a PNG image says how large it is; nothing else of it has to exist.
std::string pngOfSize(std::uint32_t width, std::uint32_t height) {
  const auto number = [](std::uint32_t value) {
    std::string bytes;
    for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift);
    return bytes;
  };
  const auto header = "IHDR" + number(width) + number(height) + std::string("\x08\x06\0\0\0", 5);
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char character : header) {
    crc ^= static_cast<unsigned char>(character);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
  }
  return "\x89PNG\r\n\x1a\n" + number(13) + header + number(~crc);
}

TEST_F(IconRendering, refusesPicturesOfHugeDimensions) {
  EXPECT_FALSE(renderIcon(files_.write("bomb.png", pngOfSize(30000, 30000)), 64));
  EXPECT_FALSE(renderIcon(files_.write("wide.png", pngOfSize(1000000, 1)), 64));
  EXPECT_FALSE(renderIcon(files_.writePng("large.png", 4097, 1, kRed), 64));
  EXPECT_TRUE(renderIcon(files_.writePng("largest.png", 4096, 1, kRed), 64));
}

TEST_F(IconRendering, refusesFilesOfHugeSize) {
  const auto file = files_.writePng("a.png", 16, 16, kRed);
  ASSERT_TRUE(renderIcon(file, 64));
  std::filesystem::resize_file(file, 16 * 1024 * 1024 + 1);
  EXPECT_FALSE(renderIcon(file, 64));
}

TEST_F(IconRendering, drawsHugeDrawingsSmall) {
  const auto png = renderIcon(files_.writeSvg("a.svg", 1000000, 1000000, "red"), 64);
  ASSERT_TRUE(png);
  EXPECT_EQ(Picture(*png).at(32, 32), kRed);
}

TEST_F(IconRendering, followsNoReferenceOutOfADrawing) {
  const auto secret = files_.writePng("secret.png", 8, 8, 0x00FF00FF);
  const auto drawing =
      files_.write("a.svg",
                   "<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>"
                   "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                   "width=\"64\" height=\"64\"><image width=\"64\" height=\"64\" xlink:href=\"file://" +
                       secret + "\"/><image width=\"64\" height=\"64\" href=\"secret.png\"/></svg>");
  const auto png = renderIcon(drawing, 64);
  ASSERT_TRUE(png);
  EXPECT_EQ(Picture(*png).at(32, 32), kClear);
}

}  // namespace
}  // namespace tevanto
