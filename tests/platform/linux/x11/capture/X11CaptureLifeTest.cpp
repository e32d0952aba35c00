#include <unistd.h>

#include <csignal>
#include <thread>

#include "platform/linux/x11/capture/X11ScreenCapturePermission.h"
#include "tests/platform/linux/x11/capture/CaptureOnXvfb.h"

namespace tevanto {
namespace {

using test::eventually;
using test::TakenPicture;

// As the programs do: XCB writes to a connection that has been shut down, and such a write is no reason to
// die.
[[maybe_unused]] const auto kPipeHandlerBefore = std::signal(SIGPIPE, SIG_IGN);

constexpr std::uint32_t kRed = 0xD02010;
constexpr std::uint32_t kGreen = 0x10C020;

/// What this process holds: descriptors, shared segments, threads.
struct Holdings {
  std::size_t descriptors = 0;
  std::size_t segments = 0;
  std::size_t threads = 0;

  bool operator==(const Holdings&) const = default;

  static Holdings now() {
    Holdings held;
    const auto entries = [](const char* folder) {
      const std::filesystem::directory_iterator begin(folder);
      return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
    };
    held.descriptors = entries("/proc/self/fd");
    held.threads = entries("/proc/self/task");
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
      if (line.find("tevanto-screen") != std::string::npos) ++held.segments;
    return held;
  }
};

/// How often a thread of this process has gone to sleep so far.
long sleepsOf(pid_t thread) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
  for (std::string word; status >> word;) {
    long value = 0;
    if (word == "voluntary_ctxt_switches:" && status >> value) return value;
  }
  return -1;
}

class X11CaptureLife : public test::CaptureOnXvfb {};

TEST_F(X11CaptureLife, listsTheDisplaysWithTheMainOne) {
  serve("1280x800x24");
  const auto one = displays();
  ASSERT_EQ(one.size(), 1U);
  EXPECT_EQ(one[0].width, 1280);
  EXPECT_EQ(one[0].height, 800);
  EXPECT_TRUE(one[0].isMain);
  // Two displays side by side.
  ASSERT_TRUE(xrandr({"--setmonitor", "left", "640/160x800/200+0+0", "screen"}));
  ASSERT_TRUE(xrandr({"--setmonitor", "*right", "640/160x400/100+640+0", "none"}));
  const auto two = displays();
  ASSERT_EQ(two.size(), 2U);
  const auto right =
      std::find_if(two.begin(), two.end(), [](const auto& each) { return each.height == 400; });
  ASSERT_NE(right, two.end());
  EXPECT_TRUE(right->isMain);
  EXPECT_EQ(std::count_if(two.begin(), two.end(), [](const auto& each) { return each.isMain; }), 1);
}

TEST_F(X11CaptureLife, capturesTheDisplayThatIsAskedFor) {
  serve("1280x800x24");
  ASSERT_TRUE(xrandr({"--setmonitor", "left", "640/160x800/200+0+0", "screen"}));
  ASSERT_TRUE(xrandr({"--setmonitor", "right", "640/160x400/100+640+200", "none"}));
  client->fill({0, 0, 1280, 800}, kRed);
  client->fill({640, 200, 640, 400}, kGreen);
  const auto all = displays();
  const auto right =
      std::find_if(all.begin(), all.end(), [](const auto& each) { return each.height == 400; });
  ASSERT_NE(right, all.end());
  ASSERT_TRUE(start(configurationOf(640, 400), right->id));
  ASSERT_TRUE(showsColor(0, 0, kGreen));
  EXPECT_EQ(latest()->at(639, 399), kGreen);
  // Changes lie where they are on that display; what happens on the other one makes no picture.
  client->fill({650, 210, 4, 4}, 0xFFFFFF);
  ASSERT_TRUE(showsColor(11, 11, 0xFFFFFF));
  const auto before = count();
  client->fill({0, 0, 100, 100}, 0);
  client->fill({650, 210, 4, 4}, kRed);
  ASSERT_TRUE(showsColor(11, 11, kRed));
  EXPECT_LE(count(), before + 2);
  EXPECT_EQ(latest()->at(30, 30), kGreen);
}

TEST_F(X11CaptureLife, failsWithoutAServer) {
  serve("640x400x24");
  const auto display = displays().front().id;
  X11ScreenCapturePermission permission(server->display());
  EXPECT_TRUE(permission.isGranted());
  makeStream(configurationOf(640, 400), display);
  client.reset();
  server->kill();
  EXPECT_FALSE(startStream());
  EXPECT_FALSE(permission.isGranted());
  std::optional<bool> listed;
  capture->listDisplays([&](const auto& answer) { listed = answer.ok(); });
  EXPECT_EQ(listed, false);
  EXPECT_EQ(count(), 0U);
}

TEST_F(X11CaptureLife, refusesWhatItCannotMake) {
  serve("640x400x24");
  const auto make = [this](int width, int height, PixelFormat format) {
    return capture->makeStream(1, configurationOf(width, height, format), queue, {}).ok();
  };
  EXPECT_TRUE(make(640, 400, capture->preferredFormat()));
  EXPECT_FALSE(make(640, 400, PixelFormat::native));
  EXPECT_FALSE(make(641, 400, PixelFormat::i420));
  EXPECT_FALSE(make(0, 0, PixelFormat::i420));
}

TEST_F(X11CaptureLife, sleepsWhileNothingChanges) {
  serve("640x400x24");
  client->movePointer(100, 100);
  ASSERT_TRUE(start(configurationOf(640, 400)));
  client->fill({0, 0, 640, 400}, kRed);
  ASSERT_TRUE(showsColor(5, 5, kRed));
  // The capture has no other thread than that of its queue; a sanitizer has one of its own, which never
  // rests.
  pid_t thread = 0;
  queue->sync([&] { thread = ::gettid(); });
  // Whatever still had to happen has happened once nothing was heard of it for a while; then a second has
  // to pass in which nothing runs. A wait for something that does not come cannot be a wait for a condition.
  long sleeps = -1;
  ASSERT_TRUE(eventually([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return std::exchange(sleeps, sleepsOf(thread)) == sleeps;
  }));
  const auto before = count();
  const auto calm = sleepsOf(thread);
  EXPECT_GT(calm, 0);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_EQ(sleepsOf(thread), calm);
  EXPECT_EQ(count(), before);
  // And the next change is seen all the same.
  client->fill({0, 0, 640, 400}, kGreen);
  EXPECT_TRUE(showsColor(5, 5, kGreen));
}

TEST_F(X11CaptureLife, endsOnceWhenTheServerDies) {
  serve("640x400x24");
  ASSERT_TRUE(start(configurationOf(640, 400)));
  ASSERT_TRUE(eventually([this] { return count() > 0; }));
  client.reset();
  server->kill();
  ASSERT_TRUE(eventually([this] { return stops() == 1; }));
  stop();
  EXPECT_EQ(stops(), 1U);
}

TEST_F(X11CaptureLife, survivesTheServersDeathInTheMiddleOfABurst) {
  for (int round = 0; round < 5; ++round) {
    serve("1280x800x24");
    auto configuration = configurationOf(1280, 800);
    configuration.minimumFrameInterval = std::chrono::milliseconds(1);
    ASSERT_TRUE(start(configuration));
    for (int i = 0; i < 20 * round; ++i) client->fill({0, 0, 1280, 800}, static_cast<std::uint32_t>(i));
    client.reset();
    server->kill();
    ASSERT_TRUE(eventually([&] { return stops() == static_cast<std::size_t>(round + 1); }));
  }
}

TEST_F(X11CaptureLife, goesOnInTheSameSizeWhenTheDisplayChangesItsOwn) {
  serve("1280x800x24");
  client->fill({0, 0, 1280, 800}, kRed);
  ASSERT_TRUE(start(configurationOf(1280, 800, PixelFormat::i420)));
  ASSERT_TRUE(eventually([this] { return count() > 0; }));
  const int red = latest()->luma(5, 5);
  ASSERT_TRUE(xrandr({"--newmode", "small", "25", "640", "656", "752", "800", "640", "641", "644", "680"}));
  ASSERT_TRUE(xrandr({"--addmode", "screen", "small"}));
  ASSERT_TRUE(xrandr({"--output", "screen", "--mode", "small"}));
  // Square now: black bars beside it.
  ASSERT_TRUE(shows([](const TakenPicture& picture) { return picture.luma(100, 400) == 16; }));
  EXPECT_EQ(latest()->width, 1280);
  EXPECT_EQ(latest()->height, 800);
  client->fill({0, 0, 640, 640}, 0xFFFFFF);
  ASSERT_TRUE(shows([](const TakenPicture& picture) { return picture.luma(640, 700) == 235; }));
  EXPECT_EQ(latest()->luma(100, 400), 16);
  // And back.
  ASSERT_TRUE(xrandr({"--output", "screen", "--mode", "1280x800"}));
  client->fill({0, 0, 1280, 800}, kRed);
  ASSERT_TRUE(shows([&](const TakenPicture& picture) { return picture.luma(100, 400) == red; }));
  EXPECT_EQ(stops(), 0U);
}

TEST_F(X11CaptureLife, movesToTheMainDisplayWhenItsOwnGoes) {
  serve("1280x800x24");
  ASSERT_TRUE(xrandr({"--setmonitor", "left", "640/160x800/200+0+0", "screen"}));
  ASSERT_TRUE(xrandr({"--setmonitor", "right", "640/160x400/100+640+0", "none"}));
  client->fill({0, 0, 640, 800}, kRed);
  client->fill({640, 0, 640, 400}, kGreen);
  const auto all = displays();
  const auto right =
      std::find_if(all.begin(), all.end(), [](const auto& each) { return each.height == 400; });
  ASSERT_NE(right, all.end());
  ASSERT_TRUE(start(configurationOf(640, 400), right->id));
  ASSERT_TRUE(showsColor(320, 200, kGreen));
  ASSERT_TRUE(xrandr({"--delmonitor", "right"}));
  EXPECT_TRUE(showsColor(320, 200, kRed));
  EXPECT_EQ(stops(), 0U);
}

TEST_F(X11CaptureLife, endsWhenNoDisplayIsLeft) {
  serve("1280x800x24");
  ASSERT_TRUE(start(configurationOf(1280, 800)));
  ASSERT_TRUE(xrandr({"--fb", "1280x800", "--output", "screen", "--off"}));
  ASSERT_TRUE(eventually([this] { return stops() == 1; }));
  EXPECT_EQ(stopReasons.front(), "No display is left.");
}

TEST_F(X11CaptureLife, leavesNothingBehind) {
  serve("640x400x24");
  ASSERT_TRUE(start(configurationOf(640, 400)));
  stop();
  stream.reset();
  const auto before = Holdings::now();
  EXPECT_EQ(before.segments, 0U);
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(start(configurationOf(640, 400)));
    if (i == 100) {
      EXPECT_EQ(Holdings::now().segments, 1U) << "the capture is there to be seen";
    }
    if (i % 2 == 0) stop();
    stream.reset();
  }
  EXPECT_TRUE(eventually([&] { return Holdings::now() == before; }));
  // The server's side of it too.
  EXPECT_TRUE(start(configurationOf(640, 400)));
}

TEST_F(X11CaptureLife, mayBeStoppedAndDestroyedFromItsHandler) {
  serve("640x400x24");
  for (const bool destroys : {false, true}) {
    onSample = [&](const CaptureSample&) {
      stream->stop([](const auto&) {});
      if (destroys) stream.reset();
    };
    const auto before = count();
    makeStream(configurationOf(640, 400), displays().front().id);
    stream->start([](const auto&) {});
    ASSERT_TRUE(eventually([&] { return count() == before + 1; }));
    client->fill({0, 0, 640, 400}, kRed);
    queue->sync([] {});
    queue->sync([] {});
    EXPECT_EQ(count(), before + 1);
    EXPECT_EQ(Holdings::now().segments, 0U);
  }
}

TEST_F(X11CaptureLife, mayBeStoppedBeforeItStartsAndTwice) {
  serve("640x400x24");
  makeStream(configurationOf(640, 400), displays().front().id);
  stop();
  stop();
  EXPECT_FALSE(startStream());
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(stops(), 0U);
}

TEST_F(X11CaptureLife, canBeStoppedWhileTheServerHangs) {
  serve("640x400x24");
  ASSERT_TRUE(start(configurationOf(640, 400)));
  ASSERT_TRUE(eventually([this] { return count() > 0; }));
  // The change is announced, and then the server says nothing more.
  onSample = [this](const CaptureSample&) { server->process().signal(SIGSTOP); };
  client->fill({0, 0, 640, 400}, kRed);
  ASSERT_TRUE(showsColor(5, 5, kRed));
  stop();
  EXPECT_EQ(Holdings::now().segments, 0U);
  server->process().signal(SIGCONT);
}

TEST_F(X11CaptureLife, isSilentAfterItsLoopHasStopped) {
  serve("640x400x24");
  ASSERT_TRUE(start(configurationOf(640, 400)));
  loop->stop();
  const auto before = count();
  client->fill({0, 0, 640, 400}, kRed);
  stream->stop([](const auto&) {});
  stream.reset();
  EXPECT_EQ(count(), before);
}

}  // namespace
}  // namespace tevanto
