// Mirroring against a scripted screen, with real H.264 and the real media libraries.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <array>
#include <boost/json.hpp>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "phone/media/LibraryMirrorMedia.h"
#include "screen/wire/BigEndian.h"
#include "screen/wire/ScreenStreamHello.h"
#include "tests/phone/terminal/PhoneFixture.h"
#include "tests/support/peers/ScriptedScreen.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/video/EncodedVideo.h"

namespace tevanto::phone {
namespace {

using test::Bytes;
using test::EncodedVideo;
using testing::HasSubstr;

constexpr auto kMoving = "testsrc2=s=320x160:r=10";
/// Left and right half.
constexpr auto kTwoColors =
    "color=c=0xC83214:s=160x160:r=10[a];color=c=0x1464C8:s=160x160:r=10[b];[a][b]hstack";

struct Picture {
  unsigned width = 0;
  unsigned height = 0;
  std::vector<unsigned char> rgb;

  std::array<int, 3> at(unsigned x, unsigned y) const {
    const auto* pixel = &rgb.at(3 * (std::size_t{y} * width + x));
    return {pixel[0], pixel[1], pixel[2]};
  }
};

Picture readPng(const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  Picture picture;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return picture;
  image.format = PNG_FORMAT_RGB;
  picture.rgb.resize(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr);
  picture.width = image.width;
  picture.height = image.height;
  return picture;
}

void expectColor(const std::array<int, 3>& is, const std::array<int, 3>& wanted) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(is[i], wanted[i], 4) << "channel " << i;
}

/// "key=value" lines of the first video stream, and of the file.
std::string probe(const std::filesystem::path& file) {
  return test::runProgram(
             {"ffprobe", "-v", "error", "-count_frames", "-show_entries",
              "stream=codec_name,profile,width,height,nb_read_frames,has_b_frames:format=duration", "-of",
              "default=noprint_wrappers=1", file.string()},
             {.mergeErrors = true})
      .output;
}

class MirrorTest : public PhoneFixture {
 protected:
  int mirror(std::vector<std::string> options) {
    options.insert(options.begin(), {"--host", companion_.host(), "mirror", "--screen-host", screen_.host()});
    return runWithMedia(std::move(options));
  }
  int runWithMedia(std::vector<std::string> arguments) {
    out_.str("");
    err_.str("");
    const auto media = []() -> Result<std::shared_ptr<MirrorMedia>> {
      return std::shared_ptr<MirrorMedia>(std::make_shared<LibraryMirrorMedia>());
    };
    return runPhone(std::move(arguments),
                    {&browser_, defaults_, out_, err_, inputDescriptor_, inputDescriptor_, media});
  }
  /// Answers the hello with these messages, and everything else with nothing.
  void show(std::vector<Bytes> messages) {
    screen_.answer = [messages](ScreenMessageType type) {
      return type == ScreenMessageType::hello ? messages : std::vector<Bytes>();
    };
  }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }
  boost::json::object lastReport() {
    std::string line, last;
    std::istringstream lines(out());
    while (std::getline(lines, line)) {
      if (line.find("\"type\":\"mirror\"") != std::string::npos) last = line;
    }
    return last.empty() ? boost::json::object() : boost::json::parse(last).as_object();
  }

  test::TemporaryFolder folder_;
  test::ScriptedScreen screen_;
};

TEST_F(MirrorTest, saysHelloAndStops) {
  show(EncodedVideo::make(kMoving, 1, 10).messages(0, 1));
  EXPECT_EQ(mirror({"--snapshot", file("a.png"), "--low-bandwidth"}), 0) << err();
  ASSERT_TRUE(screen_.waitFor(ScreenMessageType::stop));
  const auto received = screen_.received();
  ASSERT_EQ(received.size(), 2u);
  const auto hello = decodeHello(std::span(received[0]).subspan(1));
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->token, "T");
  EXPECT_GT(hello->width, 0);
  EXPECT_GT(hello->height, 0);
  EXPECT_TRUE(hello->prefersLowBandwidth);
  EXPECT_TRUE(companion_.received().empty()) << "watching does not push the phone's control connection away";
}

TEST_F(MirrorTest, theSnapshotShowsThePicture) {
  show(EncodedVideo::make(kTwoColors, 1, 10).messages(0, 1));
  ASSERT_EQ(mirror({"--snapshot", file("a.png")}), 0) << err();
  const auto picture = readPng(file("a.png"));
  ASSERT_EQ(picture.width, 320u);
  ASSERT_EQ(picture.height, 160u);
  expectColor(picture.at(20, 20), {0xC8, 0x32, 0x14});
  expectColor(picture.at(300, 150), {0x14, 0x64, 0xC8});
}

TEST_F(MirrorTest, theSnapshotAfterAWhileShowsTheLastPicture) {
  const auto first = EncodedVideo::make("color=c=0xC83214:s=320x160:r=10", 1, 10);
  const auto last = EncodedVideo::make("color=c=0x1464C8:s=320x160:r=10", 1, 10);
  auto messages = first.messages(0, 1);
  for (const auto& message : last.messages(0, 1)) messages.push_back(message);
  show(messages);
  ASSERT_EQ(mirror({"--snapshot", file("a.png"), "--seconds", "0.3"}), 0) << err();
  expectColor(readPng(file("a.png")).at(20, 20), {0x14, 0x64, 0xC8});
}

TEST_F(MirrorTest, recordsAnMp4ThatOthersPlay) {
  show(EncodedVideo::make(kMoving, 12, 5).messages(0, 12));
  ASSERT_EQ(mirror({"--out", file("a.mp4"), "--seconds", "0.5"}), 0) << err();
  const auto probed = probe(file("a.mp4"));
  EXPECT_THAT(probed, HasSubstr("codec_name=h264\n"));
  EXPECT_THAT(probed, HasSubstr("profile=Main\n"));
  EXPECT_THAT(probed, HasSubstr("width=320\nheight=160\n"));
  EXPECT_THAT(probed, HasSubstr("nb_read_frames=12\n"));
  const auto at = probed.find("duration=");
  ASSERT_NE(at, std::string::npos) << probed;
  EXPECT_GE(std::stod(probed.substr(at + 9)), 0.4) << "the last picture lasts until the end";
}

TEST_F(MirrorTest, anMp4ShowsTheSizeThatCameLater) {
  auto messages = EncodedVideo::make(kMoving, 2, 5).messages(0, 2);
  for (const auto& message : EncodedVideo::make("testsrc2=s=160x320:r=10", 2, 5).messages(0, 2)) {
    messages.push_back(message);
  }
  show(messages);
  ASSERT_EQ(mirror({"--out", file("a.mp4"), "--seconds", "0.3"}), 0) << err();
  EXPECT_THAT(probe(file("a.mp4")), HasSubstr("nb_read_frames=4\n"));
}

TEST_F(MirrorTest, recordsTheBareStream) {
  show(EncodedVideo::make(kMoving, 12, 5).messages(0, 12));
  ASSERT_EQ(mirror({"--out", file("a.h264"), "--seconds", "0.3"}), 0) << err();
  EXPECT_THAT(probe(file("a.h264")), HasSubstr("nb_read_frames=12\n"));
}

TEST_F(MirrorTest, asksForAKeyFrameAfterADamagedFrameAndGoesOn) {
  const auto video = EncodedVideo::make(kMoving, 6, 100);
  const auto again = EncodedVideo::make(kMoving, 2, 100);
  auto damaged = video.frames[2];
  for (std::size_t i = 12; i < damaged.data.size(); ++i) damaged.data[i] = std::byte{0xA5};
  screen_.answer = [&](ScreenMessageType type) {
    if (type == ScreenMessageType::keyframeRequest) return again.messages(0, 2);
    if (type != ScreenMessageType::hello) return std::vector<Bytes>();
    auto messages = video.messages(0, 2);
    messages.push_back(damaged.message());
    messages.push_back(video.frames[3].message());
    return messages;
  };
  EXPECT_EQ(mirror({"--seconds", "1", "--out", file("a.mp4"), "--json"}), 0) << err();
  EXPECT_EQ(screen_.count(ScreenMessageType::keyframeRequest), 1);
  const auto report = lastReport();
  EXPECT_EQ(report.at("frames"), 4);
  EXPECT_EQ(report.at("keyFrames"), 2);
  EXPECT_EQ(report.at("dropped"), 2);
  EXPECT_THAT(probe(file("a.mp4")), HasSubstr("nb_read_frames=4\n"));
}

// Several slices are decoded at the same time, and what is missing of a picture would go unnoticed.
TEST_F(MirrorTest, asksForAKeyFrameWhenASliceIsMissing) {
  const auto video = EncodedVideo::make(kMoving, 3, 100, 2);
  const auto again = EncodedVideo::make(kMoving, 3, 100, 2);
  const auto& whole = video.frames[2].data;
  const auto first = whole.begin() + 4 + readBigEndian<std::uint32_t>(whole);
  ASSERT_LT(first, whole.end()) << "there are two";
  int asked = 0;
  screen_.answer = [&](ScreenMessageType type) {
    std::vector<Bytes> messages;
    if (type == ScreenMessageType::hello) messages = video.messages(0, 2);
    if (type == ScreenMessageType::keyframeRequest) messages = again.messages(0, ++asked == 1 ? 2 : 3);
    if (type == ScreenMessageType::hello) {
      messages.push_back(EncodedVideo::Frame{Bytes(whole.begin(), first), false}.message());
    } else if (asked == 1 && !messages.empty()) {
      messages.push_back(EncodedVideo::Frame{Bytes(first, whole.end()), false}.message());
    }
    return messages;
  };
  EXPECT_EQ(mirror({"--seconds", "3", "--stats", "--json"}), 0) << err();
  EXPECT_EQ(screen_.count(ScreenMessageType::keyframeRequest), 2)
      << "for the second slice, and for the first";
  EXPECT_EQ(lastReport().at("frames"), 2 + 2 + 3);
  EXPECT_EQ(lastReport().at("dropped"), 2);
}

TEST_F(MirrorTest, asksForAKeyFrameWhenTheStreamBeginsInTheMiddle) {
  const auto video = EncodedVideo::make(kMoving, 4, 100);
  screen_.answer = [&](ScreenMessageType type) {
    if (type == ScreenMessageType::keyframeRequest) return video.messages(0, 1);
    if (type != ScreenMessageType::hello) return std::vector<Bytes>();
    return std::vector<Bytes>{video.frames[1].message(), video.frames[2].message()};
  };
  EXPECT_EQ(mirror({"--snapshot", file("a.png")}), 0) << err();
  EXPECT_EQ(screen_.count(ScreenMessageType::keyframeRequest), 1);
}

TEST_F(MirrorTest, showsThePictureInAWindowAndTakesTheControlConnection) {
  ::setenv("SDL_VIDEODRIVER", "dummy", 1);
  show(EncodedVideo::make(kMoving, 5, 100).messages(0, 5));
  EXPECT_EQ(mirror({"--view", "--seconds", "0.3"}), 0) << err();
  ASSERT_EQ(companion_.received().size(), 1u);
  EXPECT_EQ(companion_.received()[0].type, "sessionHello");
  ::setenv("SDL_VIDEODRIVER", "nothing", 1);
  EXPECT_EQ(mirror({"--view"}), 1);
  EXPECT_THAT(err(), HasSubstr("No window can be shown here"));
}

TEST_F(MirrorTest, tellsHowItWent) {
  const auto video = EncodedVideo::make(kMoving, 5, 100);
  show(video.messages(0, 5));
  ASSERT_EQ(mirror({"--seconds", "1.2", "--stats", "--json"}), 0) << err();
  EXPECT_THAT(out(), HasSubstr(R"("type":"mirrorStats")"));
  const auto report = lastReport();
  EXPECT_EQ(report.at("frames"), 5);
  EXPECT_EQ(report.at("keyFrames"), 1);
  EXPECT_EQ(report.at("dropped"), 0);
  EXPECT_EQ(report.at("width"), 320);
  EXPECT_EQ(report.at("height"), 160);
  std::size_t bytes = 0;
  for (const auto& message : video.messages(0, 5)) bytes += 4 + message.size();
  EXPECT_EQ(report.at("bytes"), bytes);
  EXPECT_TRUE(report.at("delayMilliseconds").is_double());

  ASSERT_EQ(mirror({"--seconds", "1.2", "--stats"}), 0) << err();
  EXPECT_THAT(out(),
              testing::ContainsRegex("[0-9]+ frames/s  [0-9.]+ Mbit/s  [0-9]+ key frames  [0-9]+ dropped"
                                     "  decoding [0-9.]+ ms  delay [0-9.]+ ms"));
  EXPECT_THAT(out(), HasSubstr("5 frames of 320 x 160, 1 key frames, 0 dropped"));
}

TEST_F(MirrorTest, aTokenThatIsNotKnownIsRefused) {
  screen_.token = "another";
  EXPECT_EQ(mirror({"--snapshot", file("a.png")}), 4);
  EXPECT_THAT(err(), HasSubstr("not paired"));
  EXPECT_FALSE(std::filesystem::exists(file("a.png")));
}

TEST_F(MirrorTest, aConnectionThatEndsIsLostAndWhatWasRecordedPlays) {
  auto messages = EncodedVideo::make(kMoving, 6, 100).messages(0, 6);
  messages.emplace_back();  // closes
  show(messages);
  EXPECT_EQ(mirror({"--out", file("a.mp4")}), 5);
  EXPECT_THAT(err(), HasSubstr("closed the connection"));
  EXPECT_THAT(probe(file("a.mp4")), HasSubstr("nb_read_frames=6\n"));
}

TEST_F(MirrorTest, withoutAPictureItGivesUpInTime) {
  EXPECT_EQ(mirror({"--snapshot", file("a.png"), "--timeout", "0.2"}), 5);
  EXPECT_THAT(err(), HasSubstr("No picture came"));
}

TEST_F(MirrorTest, garbageEndsTheConnectionOnly) {
  screen_.answer = [](ScreenMessageType) {
    return std::vector<Bytes>{test::pattern(100000), test::pattern(3), Bytes()};
  };
  EXPECT_EQ(mirror({"--snapshot", file("a.png")}), 5);
}

TEST_F(MirrorTest, nobodyThereIsNotFound) {
  const auto status =
      runWithMedia({"--host", companion_.host(), "mirror", "--screen-host", "127.0.0.1:1", "--stats"});
  EXPECT_EQ(status, 3);
}

TEST_F(MirrorTest, askedForNothingItSaysWhatThereIs) {
  EXPECT_EQ(mirror({}), 2);
  EXPECT_THAT(err(), HasSubstr("--view"));
  EXPECT_EQ(mirror({"--out", "film.avi"}), 2);
  EXPECT_EQ(mirror({"--stats", "--seconds", "-1"}), 2);
  EXPECT_TRUE(screen_.received().empty());
}

TEST_F(MirrorTest, aFileThatCannotBeWrittenIsTold) {
  show(EncodedVideo::make(kMoving, 1, 10).messages(0, 1));
  for (const auto* name : {"--out", "--snapshot"}) {
    const auto path = file("missing/a") + (name == std::string("--out") ? ".mp4" : ".png");
    EXPECT_EQ(mirror({name, path}), 1);
    EXPECT_THAT(err(), HasSubstr("cannot be written"));
  }
  EXPECT_EQ(mirror({"--out", file("missing/a.h264")}), 1);
}

TEST_F(MirrorTest, findsTheScreenOfTheSameComputerOnTheNetwork) {
  show(EncodedVideo::make(kMoving, 1, 10).messages(0, 1));
  const auto port = parseEndpoint(screen_.host())->port;
  browser_.services = {{"Other", "other.local", {"127.0.0.1"}, 1, {{"id", "OTHER"}}},
                       {"Desk", "desk.local", {"127.0.0.1"}, port, {{"id", "DESK-ID"}}}};
  const auto status = runWithMedia({"mirror", "--snapshot", file("a.png")});
  EXPECT_EQ(status, 0) << err();
  EXPECT_EQ(browser_.types, std::vector<std::string>{"_tevanto-video._tcp"});
}

/// The program itself, which loads the media libraries as a module.
TEST_F(MirrorTest, theProgramEndsCleanlyOnControlC) {
  const auto video = EncodedVideo::make(kMoving, 6, 100);
  show(video.messages(0, 6));
  const test::ChildProcess::Options options = {.environment = {{"XDG_CONFIG_HOME", folder_.path().string()}},
                                               .mergeErrors = true};
  ASSERT_EQ(
      test::runProgram({TEVANTO_PHONE, "--host", companion_.host(), "pair", "012345"}, options).exitStatus,
      0);
  test::ChildProcess phone({TEVANTO_PHONE, "--host", companion_.host(), "mirror", "--screen-host",
                            screen_.host(), "--out", file("a.mp4"), "--stats"},
                           options);
  const auto live = phone.readLine();
  ASSERT_TRUE(live);
  EXPECT_THAT(*live, HasSubstr("frames/s"));
  phone.signal(SIGINT);
  const auto rest = phone.readAll();
  EXPECT_EQ(phone.wait(), 0) << rest;
  EXPECT_THAT(rest, HasSubstr("6 frames"));
  EXPECT_THAT(probe(file("a.mp4")), HasSubstr("nb_read_frames=6\n"));
  EXPECT_TRUE(screen_.waitFor(ScreenMessageType::stop));
}

}  // namespace
}  // namespace tevanto::phone
