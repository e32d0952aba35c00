// The companion's windows beside empty Qt Quick windows that are drawn the same way: from exec to the first
// frame of the setup window, and from a click on the tray's icon to the first frame of the panel; with --idle
// also what the companion costs while its windows are closed. Takes a display of its own. One JSON object.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/TrayDesktop.h"

namespace {

using tevanto::bench::Clock;
using tevanto::bench::TrayDesktop;
using Command = std::vector<std::string>;

/// What a start puts off, and what the last click set off, is done by then.
constexpr auto kSettling = std::chrono::milliseconds(700);
constexpr auto kSettlingToIdle = std::chrono::seconds(5);
constexpr int kLaterOpenings = 5;

/// A program that is started, and ended with this.
class Program {
 public:
  explicit Program(const Command& command) : started_(now()), process_(::fork()) {
    if (process_ == 0) become(command);
  }
  ~Program() {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  Clock::time_point started() const { return started_; }

  double residentMegabytes() const {
    std::ifstream file(folder() + "/smaps_rollup");
    for (std::string line; std::getline(file, line);) {
      long kilobytes = 0;
      if (std::sscanf(line.c_str(), "Rss: %ld kB", &kilobytes) == 1)
        return static_cast<double>(kilobytes) * 1024 / 1e6;
    }
    return 0;
  }

  /// Of all its threads.
  long wakeUps() const {
    long sum = 0;
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator(folder() + "/task", error)) {
      std::ifstream file(task.path() / "status");
      for (std::string line; std::getline(file, line);) {
        long count = 0;
        if (std::sscanf(line.c_str(), "voluntary_ctxt_switches: %ld", &count) == 1) sum += count;
      }
    }
    return sum;
  }

 private:
  /// With nothing left to be written, which the child would write again.
  static Clock::time_point now() {
    std::fflush(nullptr);
    return Clock::now();
  }
  [[noreturn]] static void become(const Command& command) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);  // also where this program gives up
    std::vector<char*> arguments;
    for (const auto& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
    arguments.push_back(nullptr);
    if (std::freopen("/dev/null", "w", stdout) && std::freopen("/dev/null", "w", stderr))
      ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  std::string folder() const { return "/proc/" + std::to_string(process_); }

  const Clock::time_point started_;
  const pid_t process_;
};

double milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// From exec to the first frame. When it returns the program has gone, and its window too: the server gives
/// its number to the next one's.
double firstFrame(TrayDesktop& desktop, const Command& command) {
  desktop.forgetWindow();
  auto program = std::make_unique<Program>(command);
  const auto duration = desktop.awaitFirstFrame() - program->started();
  program.reset();
  desktop.awaitWindowGone();
  return milliseconds(duration);
}

struct Openings {
  std::vector<double> first;
  std::vector<double> later;
  int height = 0;  // of the panel
};

double open(TrayDesktop& desktop) {
  std::this_thread::sleep_for(kSettling);
  desktop.forgetWindow();
  const auto clicked = desktop.clickIcon();
  return milliseconds(desktop.awaitFirstFrame() - clicked);
}

void close(TrayDesktop& desktop) {
  std::this_thread::sleep_for(kSettling);
  desktop.clickIcon();
  desktop.awaitWindowGone();
}

void awaitRest(TrayDesktop& desktop) {
  desktop.awaitFirstFrame();
  desktop.closeWindow();
  desktop.awaitIcon();
}

void openAndClose(TrayDesktop& desktop, const Command& command, Openings& openings) {
  desktop.forgetWindow();
  desktop.forgetIcon();
  const Program program(command);
  awaitRest(desktop);
  openings.first.push_back(open(desktop));
  openings.height = desktop.windowHeight();
  for (int i = 0; i < kLaterOpenings; ++i) {
    close(desktop);
    openings.later.push_back(open(desktop));
  }
}

void reportStarts(TrayDesktop& desktop, const Command& tevanto, const Command& empty, int rounds) {
  std::vector<double> ours;
  std::vector<double> bare;
  for (int round = 0; round < rounds; ++round) {
    bare.push_back(firstFrame(desktop, empty));
    ours.push_back(firstFrame(desktop, tevanto));
  }
  std::printf("{\"firstFrameMs\": %.1f, \"emptyFirstFrameMs\": %.1f", median(ours), median(bare));
}

void reportPanel(TrayDesktop& desktop, const Command& tevanto, const std::string& empty, int rounds) {
  Openings ours;
  Openings bare;
  for (int round = 0; round < rounds; ++round) {
    openAndClose(desktop, tevanto, ours);
    openAndClose(desktop, {empty, std::to_string(ours.height)}, bare);
  }
  std::printf(
      ", \"panelFirstMs\": %.1f, \"emptyPanelFirstMs\": %.1f, \"panelMs\": %.1f, \"emptyPanelMs\": %.1f",
      median(ours.first), median(bare.first), median(ours.later), median(bare.later));
}

void reportIdle(TrayDesktop& desktop, const Command& tevanto, int seconds) {
  desktop.forgetWindow();
  desktop.forgetIcon();
  const Program program(tevanto);
  awaitRest(desktop);
  open(desktop);
  close(desktop);
  std::this_thread::sleep_for(kSettlingToIdle);
  const auto before = program.wakeUps();
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  std::printf(", \"idleWakeUpsPerSecond\": %.2f, \"residentMB\": %.1f",
              static_cast<double>(program.wakeUps() - before) / seconds, program.residentMegabytes());
}

}  // namespace

int main(int argc, char** argv) {
  std::string companion;
  int rounds = 15;
  int panelRounds = 0;
  int idleSeconds = 0;
  CLI::App app("Measures the companion's windows");
  app.add_option("companion", companion, "The program; the rivals lie beside this one")->required();
  app.add_option("--rounds", rounds, "Starts of each");
  app.add_option("--panel-rounds", panelRounds, "Starts of each in which the panel is opened");
  app.add_option("--idle", idleSeconds, "Seconds of idling");
  CLI11_PARSE(app, argc, argv);
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const Command tevanto{companion,         "--remote-port", "0", "--screen-port", "0",
                        "--loopback-only", "--no-discovery"};
  TrayDesktop desktop;
  reportStarts(desktop, tevanto, {folder / "empty_window"}, rounds);
  if (panelRounds > 0) reportPanel(desktop, tevanto, folder / "empty_panel", panelRounds);
  if (idleSeconds > 0) reportIdle(desktop, tevanto, idleSeconds);
  std::printf("}\n");
}
