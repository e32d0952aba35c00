#include "tests/support/desktop/WaylandCompositor.h"

#include <unistd.h>

#include <boost/json.hpp>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

namespace json = boost::json;

constexpr auto kTimeout = std::chrono::seconds(60);
/// The compositor does not run as root.
constexpr unsigned kNobody = 65534;

constexpr auto kSwayConfiguration = R"(
xwayland disable
focus_on_window_activation focus
output HEADLESS-1 resolution 1280x800
default_border none
)";

std::vector<std::string> asNobody(std::vector<std::string> command) {
  if (::geteuid() != 0) return command;
  const auto nobody = std::to_string(kNobody);
  command.insert(command.begin(), {"setpriv", "--reuid", nobody, "--regid", nobody, "--clear-groups",
                                   "--inh-caps=-all", "--pdeathsig", "KILL"});
  return command;
}

std::string titleOfFocused(const json::value& node) {
  const auto& object = node.as_object();
  if (object.at("focused").as_bool() && object.contains("app_id"))
    return object.at("name").is_string() ? std::string(object.at("name").as_string()) : "";
  for (const auto* const list : {"nodes", "floating_nodes"}) {
    for (const auto& child : object.at(list).as_array()) {
      if (auto found = titleOfFocused(child); !found.empty()) return found;
    }
  }
  return {};
}

}  // namespace

WaylandCompositor::WaylandCompositor() {
  const auto folder = folder_.path().string();
  std::ofstream(folder_ / "config") << kSwayConfiguration;
  if (::geteuid() == 0 && ::chown(folder.c_str(), kNobody, kNobody) != 0)
    throw std::runtime_error("cannot give " + folder + " to the compositor's user");
  // What it grumbles about is of no interest.
  process_ =
      std::make_unique<ChildProcess>(asNobody({"sh", "-c", "exec sway --config \"$1\" >/dev/null 2>&1", "sh",
                                               (folder_ / "config").string()}),
                                     ChildProcess::Options{.environment = {{"XDG_RUNTIME_DIR", folder},
                                                                           {"WLR_BACKENDS", "headless"},
                                                                           {"WLR_LIBINPUT_NO_DEVICES", "1"},
                                                                           {"WLR_RENDERER", "pixman"},
                                                                           {"WAYLAND_DISPLAY", ""},
                                                                           {"DISPLAY", ""},
                                                                           {"HOME", folder}}});
  const bool runs = eventually(
      [&] {
        for (const auto& each : std::filesystem::directory_iterator(folder)) {
          if (each.path().filename().string().starts_with("sway-ipc.")) messages_ = each.path();
        }
        return !messages_.empty() && !message({"-t", "get_version"}).empty();
      },
      kTimeout);
  if (!runs) throw std::runtime_error("the Wayland compositor does not start");
}

std::string WaylandCompositor::socket() const { return folder_ / "wayland-1"; }

std::vector<std::pair<std::string, std::string>> WaylandCompositor::environment() const {
  return {{"WAYLAND_DISPLAY", socket()}, {"XDG_SESSION_TYPE", "wayland"}, {"QT_QPA_PLATFORM", ""}};
}

std::string WaylandCompositor::message(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"swaymsg", "--raw", "--socket", messages_});
  const auto result = runProgram(std::move(arguments), {.mergeErrors = true});
  return result.exitStatus == 0 ? result.output : "";
}

std::string WaylandCompositor::focusedWindow() const {
  const auto tree = message({"-t", "get_tree"});
  return tree.empty() ? "" : titleOfFocused(json::parse(tree));
}

void WaylandCompositor::close(const std::string& title) const {
  message({"[title=\"^" + title + "$\"] kill"});
}

WaylandCompositor::Token::Token(const WaylandCompositor& compositor)
    : program_({"/usr/bin/python3", TEVANTO_ACTIVATION_TOKEN, compositor.socket()}) {
  text_ = program_.readLine(kTimeout).value_or("");
  if (text_.empty()) throw std::runtime_error("the compositor gives no activation token");
}

}  // namespace tevanto::test
