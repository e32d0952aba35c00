#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <boost/json.hpp>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/e2e/MirroringFixture.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/desktop/DrawingXClient.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

// Mirroring from end to end: a client draws on a real X server, the real companion
// captures, encodes and sends, the real phone's program decodes.
namespace tevanto {
namespace {

using test::CompanionDesktop;
using test::eventually;
using test::RgbPicture;
using ::testing::HasSubstr;

RgbPicture readPng(const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  RgbPicture picture;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return picture;
  image.format = PNG_FORMAT_BGRA;
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  picture.pixels.resize(std::size_t{image.width} * image.height);
  png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr);
  return picture;
}

double luma(std::uint32_t pixel) {
  return 0.2126 * ((pixel >> 16) & 0xFF) + 0.7152 * ((pixel >> 8) & 0xFF) + 0.0722 * (pixel & 0xFF);
}

/// Peak signal-to-noise ratio of the brightness within `area`, in dB.
double likeness(const RgbPicture& one, const RgbPicture& other, const PixelRect& area) {
  double sum = 0;
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      const double difference = luma(one.at(x, y)) - luma(other.at(x, y));
      sum += difference * difference;
    }
  }
  const double mean = sum / (static_cast<double>(area.width) * area.height);
  return mean == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mean);
}

/// A terminal that fills the display with text that stands still.
class PageOfText {
 public:
  PageOfText(const CompanionDesktop& desktop, const test::TemporaryFolder& folder)
      : desktop_(desktop), shot_(folder / "screen.png") {
    const auto text = folder / "page.txt";
    std::ofstream page(text);
    for (int line = 0; line < 44; ++line) {
      std::string words = std::to_string(line) + ":  ";
      while (words.size() < 157)
        words += "while (!ready(fox)) jump_over(dog, " + std::to_string(line * words.size()) +
                 ");  // the lazy one  ";
      page << words.substr(0, 157) << '\n';
    }
    page.close();
    terminal_ = std::make_unique<test::ChildProcess>(
        std::vector<std::string>{"xterm", "-u8", "-fa", "DejaVu Sans Mono", "-fs", "10", "-geometry",
                                 "158x46+0+0", "-e", "sh", "-c",
                                 "tput civis; cat " + text.string() + "; exec sleep 1000"},
        test::ChildProcess::Options{.environment = desktop.environment, .mergeErrors = true});
  }

  /// What the display shows once the page is there and stands still; nothing when it does not get there.
  RgbPicture waitForPicture() const {
    RgbPicture before, now;
    const bool isThere = eventually([&] {
      before = std::move(now);
      now = screenshot();
      return now.pixels == before.pixels && countDark(now) > 60000;
    });
    return isThere ? now : RgbPicture();
  }

 private:
  RgbPicture screenshot() const {
    (void)desktop_.run("maim", {shot_.string()});
    return readPng(shot_);
  }
  static std::ptrdiff_t countDark(const RgbPicture& picture) {
    const bool isWhite = !picture.pixels.empty() && luma(picture.at(600, 700)) > 128;
    return !isWhite ? 0
                    : std::count_if(picture.pixels.begin(), picture.pixels.end(),
                                    [](std::uint32_t pixel) { return luma(pixel) < 64; });
  }

  const CompanionDesktop& desktop_;
  const std::filesystem::path shot_;
  std::unique_ptr<test::ChildProcess> terminal_;
};

TEST_F(Mirroring, showsTextAtRestAsItIs) {
  const PageOfText page(desktop, folder);
  const auto shown = page.waitForPicture();
  ASSERT_EQ(shown.width, 1280);
  const auto result = mirror({"--snapshot", file("seen.png"), "--seconds", "2"});
  ASSERT_EQ(result.exitStatus, 0) << result.output;
  const auto seen = readPng(file("seen.png"));
  ASSERT_EQ(seen.width, 1280);
  ASSERT_EQ(seen.height, 800);
  const auto decibel = likeness(shown, seen, {0, 0, 1280, 800});
  RecordProperty("decibel", std::to_string(decibel));
  EXPECT_GE(decibel, 38);
}

TEST_F(Mirroring, showsColorsAndChanges) {
  test::DrawingXClient client(desktop.display().display());
  client.movePointer(1279, 799);
  client.fill({0, 0, 1280, 800}, 0x206040);
  test::ChildProcess watching(
      [&] {
        auto command = onOurPorts(mirroring({"--snapshot", file("seen.png"), "--seconds", "2", "--json"}));
        command.insert(command.begin(), kPhone);
        return command;
      }(),
      {.environment = desktop.environment, .mergeErrors = true});
  ASSERT_TRUE(eventually([this] { return now().isStreaming; }));
  client.fill({320, 200, 640, 400}, 0xC83214);
  const auto said = watching.readAll();
  EXPECT_EQ(watching.wait(), 0) << said;
  const auto seen = readPng(file("seen.png"));
  ASSERT_EQ(seen.width, 1280);
  const RgbPicture wanted = [] {
    RgbPicture picture{1280, 800, std::vector<std::uint32_t>(1280 * 800, 0x206040)};
    for (int y = 200; y < 600; ++y) std::fill_n(picture.pixels.begin() + y * 1280 + 320, 640, 0xC83214);
    return picture;
  }();
  EXPECT_GE(likeness(wanted, seen, {0, 0, 1280, 760}), 38);
}

/// Records a session of two seconds in which the middle of a green display turns red.
void recordColors(const Mirroring& test, test::DrawingXClient& client, const std::string& file) {
  client.fill({0, 0, 1280, 800}, 0x206040);
  auto command = test.onOurPorts(test.mirroring({"--out", file, "--seconds", "2"}));
  command.insert(command.begin(), kPhone);
  test::ChildProcess watching(command, {.environment = test.desktop.environment, .mergeErrors = true});
  ASSERT_TRUE(eventually([&] { return test.now().isStreaming; }));
  client.fill({320, 200, 640, 400}, 0xC83214);
  const auto said = watching.readAll();
  ASSERT_EQ(watching.wait(), 0) << said;
}

TEST_F(Mirroring, aRecordingIsLegalForOthers) {
  test::DrawingXClient client(desktop.display().display());
  recordColors(*this, client, file("seen.mp4"));
  const auto probed = test::runProgram({"ffprobe", "-v", "warning", "-show_entries",
                                        "stream=codec_name,profile,width,height,pix_fmt,color_range,color_"
                                        "space,color_transfer,color_primaries,"
                                        "has_b_frames",
                                        "-of", "default=noprint_wrappers=1", file("seen.mp4")},
                                       {.mergeErrors = true});
  EXPECT_EQ(probed.output,
            "codec_name=h264\nprofile=Main\nwidth=1280\nheight=800\nhas_b_frames=0\npix_fmt=yuv420p\n"
            "color_range=tv\ncolor_space=bt709\ncolor_transfer=bt709\ncolor_primaries=bt709\n");
}

TEST_F(Mirroring, aBrowserPlaysARecording) {
  const auto found = test::runProgram({"sh", "-c", "command -v chromium-headless-shell"}, {}).output;
  if (found.empty()) GTEST_SKIP() << "no browser that runs without a window: chromium-headless-shell";
  test::DrawingXClient client(desktop.display().display());
  recordColors(*this, client, file("seen.mp4"));
  const auto played = test::runProgram(
      {"python3", PLAY_IN_BROWSER, found.substr(0, found.find('\n')), file("seen.mp4"), "400", "300"},
      {.mergeErrors = true});
  ASSERT_EQ(played.exitStatus, 0) << played.output;
  const auto result = boost::json::parse(played.output).as_object();
  EXPECT_EQ(result.at("how").as_string(), "ended");
  EXPECT_EQ(result.at("width").as_int64(), 1280);
  EXPECT_EQ(result.at("height").as_int64(), 800);
  EXPECT_GE(result.at("decoded").as_int64(), 2);
  const auto& pixel = result.at("pixel").as_array();
  EXPECT_NEAR(pixel.at(0).as_int64(), 0xC8, 6) << played.output;
  EXPECT_NEAR(pixel.at(1).as_int64(), 0x32, 6) << played.output;
  EXPECT_NEAR(pixel.at(2).as_int64(), 0x14, 6) << played.output;
}

TEST_F(Mirroring, theWindowControlsTheComputer) {
  test::DrawingXClient(desktop.display().display()).movePointer(300, 300);
  const test::XvfbServer phonesDisplay("1400x900x24");
  const auto onPhone = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "xdotool");
    return test::runProgram(std::move(arguments), {.environment = {{"DISPLAY", phonesDisplay.display()}}})
        .output;
  };
  auto command = onOurPorts(mirroring({"--view"}));
  command.insert(command.begin(), kPhone);
  auto environment = desktop.environment;
  environment.insert(
      environment.end(),
      {{"DISPLAY", phonesDisplay.display()}, {"SDL_VIDEODRIVER", "x11"}, {"SDL_RENDER_DRIVER", "software"}});
  test::ChildProcess watching(command, {.environment = environment, .mergeErrors = true});
  ASSERT_TRUE(eventually([&] {
    return now().isStreaming && onPhone({"search", "--name", "^Tevanto$"}) != "";
  }));
  // Until the window takes part; a step to and fro leaves the computer's pointer where it is.
  int step = 0;
  ASSERT_TRUE(eventually([&] {
    onPhone({"mousemove", std::to_string(700 + (step++ % 2)), "450"});
    return desktop.pointer() != std::pair(300, 300);
  }));
  // The window's change to the picture's size may come late, and the mouse's way begins anew behind it: then
  // the first step is no step yet.
  EXPECT_TRUE(eventually([&] {
    onPhone({"mousemove", "700", "450"});
    std::pair<int, int> before;
    EXPECT_TRUE(eventually([&] { return std::exchange(before, desktop.pointer()) == desktop.pointer(); }));
    onPhone({"mousemove", "740", "470"});
    const std::pair wanted(before.first + 40, before.second + 20);
    return eventually([&] { return desktop.pointer() == wanted; }, std::chrono::seconds(2));
  }));
  watching.signal(SIGTERM);
  EXPECT_EQ(watching.wait(), 0) << watching.readAll();
}

TEST_F(Mirroring, tellsHowItStands) {
  EXPECT_TRUE(eventually([this] { return now().isScreenRecordingTrusted; }));
  EXPECT_FALSE(now().isStreaming);
  EXPECT_EQ(now().screenStatusText, "");
  EXPECT_EQ(now().encoder, "") << "nobody has looked for one yet";
  auto socket = connectToScreen();
  ASSERT_TRUE(watch(socket));
  EXPECT_TRUE(eventually([this] { return now().isStreaming; }));
  EXPECT_EQ(now().screenStatusText, "Mirroring to iPhone");
  EXPECT_NE(now().encoder, "");
  socket.send(test::frameText(screenMessage(ScreenMessageType::stop)));
  EXPECT_TRUE(eventually([this] { return !now().isStreaming; }));
  EXPECT_EQ(now().screenStatusText, "");
}

TEST_F(Mirroring, refusesAPhoneThatIsNotPaired) {
  ASSERT_EQ(desktop.run(kProgram, {"defaults", "set", "remotePairingToken", "another"}).exitStatus, 0);
  const auto result = mirror({"--snapshot", file("seen.png")});
  EXPECT_EQ(result.exitStatus, 4) << result.output;
  EXPECT_THAT(result.output, HasSubstr("not paired"));
  EXPECT_TRUE(eventually([this] { return now().screenStatusText == "Rejected an unpaired iPhone"; }));
  EXPECT_FALSE(now().isStreaming);
}

TEST_F(Mirroring, aSecondPhoneTakesTheFirstOnesPlace) {
  auto silent = connectToScreen();
  ASSERT_TRUE(silent.isOpen());
  auto first = connectToScreen();
  ASSERT_TRUE(watch(first));
  EXPECT_TRUE(silent.waitForEnd()) << "a candidate gives way to the next one";
  auto second = connectToScreen();
  ASSERT_TRUE(watch(second));
  EXPECT_TRUE(first.waitForEnd());
  EXPECT_TRUE(eventually([this] { return now().isStreaming; }));
}

TEST_F(Mirroring, aPhoneThatSaysNothingIsLetGo) {
  const auto silent = connectToScreen();
  ASSERT_TRUE(silent.isOpen());
  EXPECT_TRUE(silent.waitForEnd());
  EXPECT_EQ(now().screenStatusText, "");
}

TEST_F(Mirroring, endsWithItsConnection) {
  auto socket = connectToScreen();
  ASSERT_TRUE(watch(socket));
  ASSERT_TRUE(eventually([this] { return now().isStreaming; }));
  socket.close();
  EXPECT_TRUE(eventually([this] { return !now().isStreaming && now().screenStatusText.empty(); }));
}

/// Whether the kernel would ask the peer of a connection to `port` if it fell silent: the timer that runs for
/// our end of it is then number 2 in the kernel's table, once all that was sent has arrived.
bool isAskedWhenSilent(std::int64_t port) {
  std::ostringstream local;
  local << ':' << std::uppercase << std::hex << std::setw(4) << std::setfill('0') << port;
  std::ifstream table("/proc/net/tcp");
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string number, ours, peers, state, queues, timer;
    fields >> number >> ours >> peers >> state >> queues >> timer;
    const bool isConnected = state == "01";
    if (isConnected && ours.ends_with(local.str()) && timer.starts_with("02:")) return true;
  }
  return false;
}

TEST_F(Mirroring, aPhoneThatFallsSilentIsAskedWhetherItIsThere) {
  const auto control = test::RawSocket::connectTo(static_cast<std::uint16_t>(now().remotePort));
  const auto screen = connectToScreen();
  ASSERT_TRUE(control.isOpen());
  ASSERT_TRUE(watch(screen));
  const auto ports = {now().remotePort, now().screenPort};
  for (const auto port : ports) {
    EXPECT_TRUE(eventually([port] { return isAskedWhenSilent(port); }, std::chrono::seconds(60))) << port;
  }
}

TEST_F(Mirroring, theEndOfTheDisplayEndsTheSessionOnly) {
  auto socket = connectToScreen();
  ASSERT_TRUE(watch(socket));
  ASSERT_TRUE(eventually([this] { return now().isStreaming; }));
  desktop.display().kill();
  EXPECT_TRUE(eventually([this] { return now().screenStatusText == "Screen capture stopped"; }));
  EXPECT_FALSE(now().isStreaming);
  EXPECT_TRUE(companion->process().isRunning());
  EXPECT_TRUE(eventually([this] { return !now().isScreenRecordingTrusted; }));
}

TEST_F(Mirroring, twoHundredSessionsLeaveNothingBehind) {
  for (int i = 0; i < 3; ++i) {  // what is made once and kept: threads, libraries
    ASSERT_TRUE(watch(connectToScreen()));
    ASSERT_TRUE(eventually([this] { return !now().isStreaming; }));
  }
  const auto descriptors = countIn("fd");
  const auto threads = countIn("task");
  EXPECT_TRUE(eventually([&] { return mappedSegments() == 0; })) << mappedSegments();
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(watch(connectToScreen())) << "session " << i;
  ASSERT_TRUE(eventually([this] { return !now().isStreaming; }));
  EXPECT_TRUE(eventually([&] { return countIn("fd") <= descriptors; }))
      << countIn("fd") << " of " << descriptors;
  EXPECT_TRUE(eventually([&] { return countIn("task") <= threads; })) << countIn("task") << " of " << threads;
  EXPECT_TRUE(eventually([&] { return mappedSegments() == 0; })) << mappedSegments();
}

TEST_F(Mirroring, theProgramEndsWhileAPhoneWatches) {
  auto socket = connectToScreen();
  ASSERT_TRUE(watch(socket));
  companion->process().signal(SIGTERM);
  EXPECT_EQ(companion->process().wait(), 0);
}

}  // namespace
}  // namespace tevanto
