#include "tests/support/desktop/PulseServer.h"

#include <cctype>
#include <filesystem>
#include <stdexcept>

#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

PulseServer::PulseServer() : address_("unix:" + (folder_ / "native").string()) { start(); }

std::vector<std::pair<std::string, std::string>> PulseServer::environment() const {
  const auto folder = folder_.path().string();
  return {{"PULSE_SERVER", address_},
          {"XDG_RUNTIME_DIR", folder},
          {"XDG_CONFIG_HOME", folder},
          {"HOME", folder},
          {"PULSE_RUNTIME_PATH", ""},
          {"PULSE_COOKIE", ""},
          {"DBUS_SESSION_BUS_ADDRESS", "none:"},
          {"DBUS_SYSTEM_BUS_ADDRESS", "none:"},
          {"DISPLAY", ""}};
}

void PulseServer::start() {
  process_.reset();
  const auto socket = folder_ / "native";
  std::filesystem::remove(socket);
  ChildProcess::Options options;
  options.environment = environment();
  options.environment.emplace_back("PULSE_SERVER", "");  // it would refuse to serve beside another server
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                               "--use-pid-file=no", "--disallow-exit", "--realtime=no", "--high-priority=no",
                               "--log-level=error", "-L", std::string("module-null-sink sink_name=") + kSink,
                               "-L",
                               "module-native-protocol-unix auth-anonymous=1 socket=" + socket.string()},
      std::move(options));
  const bool serves = eventually([&] {
    return !process_->isRunning() || (std::filesystem::exists(socket) &&
                                      runProgram({"pactl", "info"}, {environment(), true}).exitStatus == 0);
  });
  if (!serves || !process_->isRunning()) throw std::runtime_error("pulseaudio does not start");
}

std::string PulseServer::pactl(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command{"pactl"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess::Options options;
  options.environment = environment();
  options.environment.emplace_back("LC_ALL", "C");
  options.mergeErrors = true;
  const auto result = runProgram(std::move(command), std::move(options));
  if (result.exitStatus != 0) throw std::runtime_error("pactl: " + result.output);
  return result.output;
}

std::vector<int> PulseServer::volumes() const {
  // Volume: front-left: 32768 /  50% / -18.06 dB,   front-right: ...
  const auto text = pactl({"get-sink-volume", "@DEFAULT_SINK@"});
  std::vector<int> found;
  for (auto at = text.find('%'); at != text.npos; at = text.find('%', at + 1)) {
    auto start = at;
    while (start > 0 && std::isdigit(static_cast<unsigned char>(text[start - 1])) != 0) --start;
    found.push_back(std::stoi(text.substr(start, at - start)));
  }
  return found;
}

bool PulseServer::isMuted() const { return pactl({"get-sink-mute", "@DEFAULT_SINK@"}) == "Mute: yes\n"; }

}  // namespace tevanto::test
